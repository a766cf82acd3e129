#include "tools/bx-range/Sender.h"

#include <gmock/gmock.h>

#include <sstream>

#include "tests/support/Table.h"

namespace BX::range {
namespace {

using Clock = Sender::Clock;

void apply(Sender& sender, const std::string& action, Clock::time_point now) {
  std::istringstream words(action);
  std::string verb, end;
  std::size_t number = 0, lines = 0;
  words >> verb >> number >> lines >> end;
  if (verb == "begin") sender.begin(number);
  if (verb == "grow") sender.grow(number);
  if (verb == "end") sender.end();
  if (verb == "reconnect") sender.reconnect();
  if (verb == "recall") sender.recall(number, lines);
  if (verb == "confirm" || verb == "retained") sender.confirm({number, lines, end == "end", verb == "retained"}, now);
}

TEST(Sender, GoesNoFurtherThanItMayAndBackWhenNothingMoves) {
  Sender sender;
  for (const auto& row : test::rowsOf(test::textIn(BX_SOURCE_DIR "/tests/range/sender.txt"))) {
    if (row[0].starts_with('#')) continue;
    const Clock::time_point now{std::chrono::milliseconds(std::stoi(row[0]))};
    std::istringstream actions(row[1]);
    for (std::string action; std::getline(actions >> std::ws, action, ',');) apply(sender, action, now);
    std::string sent;
    while (const auto chunk = sender.next(now)) {
      sent += (sent.empty() ? "" : ", ") + std::to_string(chunk->session) + ": " +
              (chunk->isEnd ? "end " + std::to_string(chunk->first)
                            : std::to_string(chunk->first) + '+' + std::to_string(chunk->count));
    }
    EXPECT_EQ(sent, row[2]) << row[0] << ' ' << row[1];
  }
}

}  // namespace
}  // namespace BX::range
