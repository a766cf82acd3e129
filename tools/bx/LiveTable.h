// Training as a person follows it on a terminal: the shots as they come, below them the time and the counts.
#pragma once

#include <cstddef>

#include "Console.h"
#include "Records.h"

namespace BX::tool {

class LiveTable {
 public:
  explicit LiveTable(Console& console) : console_(console) {}

  // `time`: since the start.
  void show(const Json& record, Milliseconds time);
  // Draws the time and the counts.
  void showStatus(Milliseconds time);

 private:
  Console& console_;
  std::size_t records_ = 0;
  std::size_t shots_ = 0;
  Milliseconds drawn_{-1000};  // the status, last
};

}  // namespace BX::tool
