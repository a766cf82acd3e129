#include "ShotTable.h"

#include <array>
#include <cstdio>
#include <utility>

#include "bx/DocumentKeys.h"
#include "morva/KeyedAccess.h"
#include "scoring/Scores.h"

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

std::string shotHeading() { return "  shot  value         x         y   distance   aiming time"; }

std::string shotLine(const Json& shot, const std::string& value) {
  std::array<char, 96> text{};
  std::snprintf(text.data(), text.size(), "%6d  %-6s%8.2f  %8.2f  %7.2f m",
                MORVA::getInteger(shot, key::record::shotNumber), value.c_str(),
                MORVA::getDouble(shot, key::record::positionX), MORVA::getDouble(shot, key::record::positionY),
                MORVA::getDouble(shot, key::record::distance));
  std::string line = text.data();
  if (has(shot, key::record::aimingTime)) {
    std::snprintf(text.data(), text.size(), "  %10.2f s", MORVA::getDouble(shot, key::record::aimingTime));
    line += text.data();
  }
  const std::string flags = flagsInWords(shot);
  return flags.empty() ? line : line + "   " + flags;
}

std::string lastValue(const scoring::Session& session) {
  if (session.shots().empty()) return "  -";
  const auto value = scoring::scoreOf(session, 0, scoring::Gauge::Edge, session.shots().back()).value;
  if (!value) return "  -";
  const std::string column = value->tenths < 100 ? " " : "";
  return column + scoring::decimalOf(value->tenths) + (value->isInner ? "x" : "");
}

}  // namespace BX::tool
