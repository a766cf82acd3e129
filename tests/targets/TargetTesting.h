// What the target tests share.
#pragma once

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

#include "morva/MORVADataTypeJSON.h"
#include "simulator/Hex.h"

namespace BX::test {

using Json = MORVA::MORVADataTypeJSON;
using sim::fromHex;
using sim::toHex;

inline Json parsed(const std::string& text) {
  Json document;
  if (!document.parseString(text)) throw std::runtime_error("not JSON: " + text);
  return document;
}

inline std::string sourceText(const std::filesystem::path& path) {
  const std::ifstream file(std::filesystem::path(BX_SOURCE_DIR) / path);
  if (!file) throw std::runtime_error("cannot read " + path.string());
  return (std::ostringstream() << file.rdbuf()).str();
}

inline Json example(const std::string& name) { return parsed(sourceText("examples/" + name)); }

// `hex` without its spaces.
inline std::string compact(const std::string& hex) { return toHex(fromHex(hex)); }

}  // namespace BX::test
