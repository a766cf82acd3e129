// Training as a person follows it on a terminal: the shots as they come, below them the time and the counts.
#pragma once

#include <cstddef>

#include "Console.h"
#include "Records.h"
#include "scoring/Session.h"

namespace BX::tool {

class LiveTable {
 public:
  explicit LiveTable(Console& console) : console_(console) {}

  // Shots are scored for the target of this header of a session.
  void begin(const Json& header) { session_ = scoring::Session(header.getDocument()); }
  // `time`: since the start.
  void show(const Json& record, Milliseconds time);
  // Draws the time and the counts.
  void showStatus(Milliseconds time);

 private:
  Console& console_;
  scoring::Session session_{rapidjson::Value()};  // of shots alone
  std::size_t records_ = 0;
  Milliseconds drawn_{-1000};  // the status, last
};

}  // namespace BX::tool
