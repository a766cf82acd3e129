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

// Reads `path` and holds it against the schema. Throws Failure for a document that is refused; with --force a warning
// takes the refusal's place.
Json loadDocument(Tool& tool, const std::string& path, DocumentKind kind);

struct TargetFile {
  std::string type;  // as BXDeviceManager::createTargetOnDevice takes it
  Json document;
};

// The type is `givenType`, or what the file's "TargetType" says when that is empty.
TargetFile loadTarget(Tool& tool, const std::string& path, const std::string& givenType);

// Warnings about a document that did not come from a file.
void warnAbout(Tool& tool, const std::string& name, const Json& document, DocumentKind kind);

// ---- The files that `train` and `settings` take alike.

struct Configuration {
  std::optional<Json> device, session;
  std::optional<TargetFile> target;
  bool any() const { return device || session || target; }
};

Configuration loadConfiguration(Tool& tool, const ConfigurationFiles& files);

class Connection;

// Session settings, target and device settings, as far as they are given, in this order. Without device settings those
// that the device reported are written back. Throws Failure.
void configure(Tool& tool, Connection& connection, Configuration& configuration);

}  // namespace BX::tool
