// Values, groups and holds by tables that were worked out by hand.
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "scoring/Figures.h"
#include "scoring/Scores.h"
#include "tests/json/Parsed.h"
#include "tests/support/Table.h"

namespace BX::test {
namespace {

using namespace scoring;

std::string sourceText(const std::filesystem::path& path) {
  const std::ifstream file(std::filesystem::path(BX_SOURCE_DIR) / path);
  return (std::ostringstream() << file.rdbuf()).str();
}

// An example, "25m", with members of its own behind it.
Json targetOf(const std::string& cell) {
  const auto name = cell.substr(0, cell.find(' '));
  Json target = parsed(sourceText(name == "25m"    ? "examples/ring-25m-precision-pistol.json"
                                  : name == "300m" ? "examples/ring-300m-rifle.json"
                                                   : "examples/ring-600yd-rifle.json"));
  const Json changes = parsed(name == cell ? "{}" : cell.substr(name.size()));
  for (const auto& member : changes.getDocument().GetObject()) target.getDocument().RemoveMember(member.name);
  target.iterateAndSetValues(changes.getDocument().GetObject(), target.getDocument());
  return target;
}

Point pointOf(const std::string& cell) {
  std::istringstream text(cell);
  Point point;
  text >> point.x >> point.y;
  return point;
}

std::string textOf(const Value& value) {
  if (value.ring == 0) return "0";
  EXPECT_EQ(value.ring, value.tenths / 10);
  return std::to_string(value.ring) + '.' + std::to_string(value.tenths % 10) + (value.isInner ? " X" : "");
}

TEST(Value, IsThatOfTheHighestRingThatIsReachedWithItsTenthCut) {
  for (const auto& row : rowsOf(sourceText("tests/scoring/hits.txt"))) {
    const Face face = faceOf(targetOf(row[0]).getDocument());
    const Gauge gauge = row[1] == "edge" ? Gauge::Edge : Gauge::Centre;
    EXPECT_EQ(face.isScored() ? textOf(valueOf(face, gauge, pointOf(row[2]))) : "unscored", row[3])
        << row[0] << ' ' << row[1] << ' ' << row[2];
  }
}

}  // namespace
}  // namespace BX::test
