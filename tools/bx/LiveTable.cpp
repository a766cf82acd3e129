#include "LiveTable.h"

#include <array>
#include <cstdio>
#include <string>

#include "ShotTable.h"

namespace BX::tool {

namespace {

constexpr Milliseconds redrawInterval{100};

}  // namespace

void LiveTable::show(const Json& record, Milliseconds time) {
  ++records_;
  const bool shot = isShot(record);
  if (shot) {
    session_.add(record.getDocument());
    if (session_.shots().size() == 1) console_.note(shotHeading());
    console_.note(shotLine(record, lastValue(session_)));
  }
  if (shot || time - drawn_ >= redrawInterval) showStatus(time);
}

void LiveTable::showStatus(Milliseconds time) {
  drawn_ = time;
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time).count();
  std::array<char, 32> clock{};
  std::snprintf(clock.data(), clock.size(), "%02lld:%02lld  ", static_cast<long long>(seconds / 60),
                static_cast<long long>(seconds % 60));
  console_.progress(clock.data() + counted(session_.shots().size(), "shot") + ", " + counted(records_, "record"));
}

}  // namespace BX::tool
