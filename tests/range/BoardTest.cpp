#include <gmock/gmock.h>

#include "tests/support/Table.h"
#include "tools/bx-range/BoardFeed.h"

namespace BX::range {
namespace {

rapidjson::Document dataOf(const std::string& event) {
  const auto at = event.find("data: ") + 6;
  rapidjson::Document data;
  data.Parse<rapidjson::kParseFullPrecisionFlag>(event.substr(at, event.size() - at - 2).c_str());
  return data;
}

// "a/2 (Shooter) training 9; ...", with "all: " before an event of all.
std::string toldIn(const std::shared_ptr<const std::string>& event) {
  if (!event) return "nothing";
  std::string told;
  const auto data = dataOf(*event);
  for (const auto& lane : data["lanes"].GetArray()) {
    const std::string name = lane["name"].GetString();
    const std::string state = lane["state"].GetString();
    told += (told.empty() ? "" : "; ") + std::string(lane["lane"].GetString());
    if (!name.empty()) told += " (" + name + ')';
    told += ' ' + (state.empty() ? "-" : state);
    const bool hasTotal = lane["score"].IsObject() && lane["score"]["total"].IsInt();
    if (hasTotal) told += ' ' + std::to_string(lane["score"]["total"].GetInt());
  }
  return (event->find("event: board\n") == std::string::npos ? "" : "all: ") + told;
}

bool apply(BoardFeed& feed, const std::string& what, std::string payload) {
  if (payload == "DEEP") payload = std::string(200'000, '[');
  const auto machine = what.substr(0, what.find('/'));
  const auto lane = what.substr(0, what.rfind('/'));
  if (what.ends_with("score")) return feed.takeScore(lane, payload);
  if (what.ends_with("status"))
    return lane == machine ? feed.takeMachine(machine, payload) : feed.takeStatus(lane, payload);
  if (what == "names") feed.setNames(payload.empty() ? Names() : Names{{payload, "Shooter"}});
  if (what == "round") feed.beginRound();
  if (what == "end") feed.endRound();
  return true;
}

TEST(Board, TellsEachViewerWhatChangedSinceItsPlace) {
  BoardFeed feed("hall");
  viewer::Place following;
  EXPECT_EQ(toldIn(feed.next(following)), "all: ");
  const viewer::Place first = following;
  for (const auto& row : test::rowsOf(test::textIn(BX_SOURCE_DIR "/tests/range/board.txt"))) {
    SCOPED_TRACE(row[0] + ' ' + row[1]);
    const std::string told = apply(feed, row[0], row[1]) ? toldIn(feed.next(following)) : "left out";
    EXPECT_EQ(told, row[2]);
    viewer::Place late;
    EXPECT_EQ(toldIn(feed.next(late)), "all: " + row[3]);
  }
  viewer::Place back{following.event, 0};
  EXPECT_EQ(toldIn(feed.next(back)), "");  // that all is well
  viewer::Place old = first;
  viewer::Place ofAnother{*following.event + 1, 1};
  EXPECT_EQ(toldIn(feed.next(old)), toldIn(feed.next(ofAnother)));
}

}  // namespace
}  // namespace BX::range
