// The files that the tool is given: read, checked, refused or warned about before a port is opened.
#pragma once

#include <optional>
#include <string>

#include "Schema.h"
#include "Tool.h"

namespace BX::tool {

// Throws Failure, with status wrongUsage and a text that begins with `name`: what is not JSON, by line and column.
Json parseDocument(const std::string& text, const std::string& name);

// Throws Failure: a file that cannot be read, or is not JSON.
Json readDocument(const std::string& path);

// What was found in the documents of one command: told only when none of them is refused.
class Review {
 public:
  explicit Review(bool force) : force_(force) {}
  // Throws Failure for a document with problems; with --force they are warnings.
  void add(const std::string& name, const Findings& findings);
  void tell(Console& console) const;
  bool force() const { return force_; }

 private:
  bool force_;
  std::vector<std::string> warnings_;
};

// Reads `path` and holds it against the schema. Throws Failure.
Json loadDocument(Review& review, const std::string& path, DocumentKind kind);

struct TargetFile {
  std::string type;  // as BXDeviceManager::createTargetOnDevice takes it
  Json document;
};

// The type is `givenType`, or what the file's "TargetType" says when that is empty.
TargetFile loadTarget(Review& review, const std::string& path, const std::string& givenType);
// The same for the only document of a command: warnings are told at once.
TargetFile loadTarget(Tool& tool, const std::string& path, const std::string& givenType);

// What the library will take for keys that are missing in a document that did not come from a file.
Findings warningsAbout(const Json& document, DocumentKind kind);

// ---- The files that `train` and `settings` take alike.

struct Configuration {
  std::optional<Json> device, session;
  std::optional<TargetFile> target;
  bool isToldOf = false;  // that settings are written back which no device reports in full
  bool any() const { return device || session || target; }
};

Configuration loadConfiguration(Tool& tool, const ConfigurationFiles& files);

class Connection;

// Session settings, target and device settings, as far as they are given, in this order. Without device settings those
// that the device reported are written back. Throws Failure.
void configure(Tool& tool, Connection& connection, Configuration& configuration);

}  // namespace BX::tool
