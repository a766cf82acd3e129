#include "NamesFile.h"

#include <utility>

#include "tools/bx/Documents.h"

namespace BX::range {

namespace {

// Throws Failure.
Names namesIn(const std::string& path) {
  const auto refuse = [&](const std::string& reason) { throw tool::Failure(tool::wrongUsage, path + ": " + reason); };
  const auto document = tool::readDocument(path);
  const auto& object = document.getDocument();
  if (!object.IsObject()) refuse("is no object of names by lane");
  Names names;
  for (const auto& [lane, name] : object.GetObject()) {
    if (!name.IsString()) refuse('"' + std::string(lane.GetString()) + "\": is no text");
    names[lane.GetString()] = name.GetString();
  }
  return names;
}

}  // namespace

std::optional<Names> NamesFile::changed() try {
  if (path_.empty()) return std::nullopt;
  Names names = namesIn(path_);
  trouble_.clear();
  if (names == names_) return std::nullopt;
  names_ = names;
  return names;
} catch (const tool::Failure& failure) {
  if (std::exchange(trouble_, failure.what()) != failure.what()) {
    console_.error(std::string(failure.what()) + "; the names from before stay");
  }
  return std::nullopt;
}

}  // namespace BX::range
