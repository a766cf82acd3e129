#include "ShotTable.h"

#include <array>
#include <cstdio>
#include <utility>

#include "bx/DocumentKeys.h"
#include "morva/KeyedAccess.h"

namespace BX::tool {

namespace {

bool has(const Json& shot, const char* key) { return shot.getDocument().HasMember(key); }

std::string flagsInWords(const Json& shot) {
  std::string words;
  for (const auto& [key, word] : {std::pair{key::record::lowSignal, "low signal"},
                                  {key::record::highSignal, "high signal"},
                                  {key::record::measureError, "measure error"},
                                  {key::record::angleError, "angle error"},
                                  {key::record::fsiError, "FSI error"}}) {
    if (has(shot, key) && MORVA::getInteger(shot, key) != 0) words += (words.empty() ? "" : ", ") + std::string(word);
  }
  return words;
}

}  // namespace

std::string shotHeading() { return "  shot         x         y   distance   aiming time"; }

std::string shotLine(const Json& shot) {
  std::array<char, 96> text{};
  std::snprintf(text.data(), text.size(), "%6d  %8.2f  %8.2f  %7.2f m",
                MORVA::getInteger(shot, key::record::shotNumber), MORVA::getDouble(shot, key::record::positionX),
                MORVA::getDouble(shot, key::record::positionY), MORVA::getDouble(shot, key::record::distance));
  std::string line = text.data();
  if (has(shot, key::record::aimingTime)) {
    std::snprintf(text.data(), text.size(), "  %10.2f s", MORVA::getDouble(shot, key::record::aimingTime));
    line += text.data();
  }
  const std::string flags = flagsInWords(shot);
  return flags.empty() ? line : line + "   " + flags;
}

}  // namespace BX::tool
