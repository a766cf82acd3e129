// A document of JSON text, for tests.
#pragma once

#include <stdexcept>
#include <string>

#include "morva/MORVADataTypeJSON.h"

namespace BX::test {

using Json = MORVA::MORVADataTypeJSON;

inline Json parsed(const std::string& text) {
  Json document;
  if (!document.parseString(text)) throw std::runtime_error("not JSON: " + text);
  return document;
}

}  // namespace BX::test
