// Values, groups and holds by tables that were worked out by hand.
#include <gmock/gmock.h>

#include "scoring/Figures.h"
#include "scoring/Scores.h"
#include "tests/json/Parsed.h"
#include "tests/support/Table.h"

namespace BX::test {
namespace {

using namespace scoring;

std::string sourceText(const std::string& path) { return textIn(BX_SOURCE_DIR "/" + path); }

// An example, with members of its own behind its name.
Json targetOf(const std::string& cell) {
  const auto name = cell.substr(0, cell.find(' '));
  Json target = parsed(sourceText("examples/" + name + ".json"));
  const Json changes = parsed(name == cell ? "{}" : cell.substr(name.size()));
  for (const auto& member : changes.getDocument().GetObject()) target.getDocument().RemoveMember(member.name);
  target.iterateAndSetValues(changes.getDocument().GetObject(), target.getDocument());
  return target;
}

std::vector<Point> pointsOf(const std::string& cell) {
  std::istringstream text(cell);
  std::vector<Point> points;
  for (Point point; text >> point.x >> point.y;) points.push_back(point);
  return points;
}

auto tableOf(const std::string& name) { return rowsOf(sourceText("tests/scoring/" + name)); }

std::string textOf(const Value& value) {
  EXPECT_EQ(value.ring, value.tenths / 10);
  if (value.tenths == 0) return "0";
  return decimalOf(value.tenths) + (value.isInner ? " X" : "");
}

std::string numbers(const std::vector<std::optional<double>>& values) {
  std::ostringstream text;
  for (const auto& value : values) value ? text << *value << ' ' : text << "- ";
  return text.str();
}

TEST(Value, IsThatOfTheHighestRingThatIsReachedWithItsTenthCut) {
  for (const auto& row : tableOf("hits.txt")) {
    const Face face = faceOf(targetOf(row[0]).getDocument());
    const Gauge gauge = row[1] == "edge" ? Gauge::Edge : Gauge::Centre;
    const Point hit = pointsOf(row[2]).front();
    EXPECT_EQ(face.isScored() ? textOf(valueOf(face, gauge, hit)) : "unscored", row[3]) << row[0] << ' ' << row[2];
  }
}

TEST(Face, OfTheExamplesIsAsPublished) {
  for (const auto& row : tableOf("faces.txt")) {
    const auto figures = figuresOf(faceOf(targetOf(row[0]).getDocument()), Gauge::Edge, {});
    EXPECT_THAT(figures, testing::StartsWith(R"({"rule":"edge","face":{)" + row[1] + "}"));
  }
}

// The expected figures come from a script by brute force.
TEST(Group, AgreesWithAnIndependentCalculation) {
  for (const auto& row : tableOf("groups.txt")) {
    const Group group = *groupOf(std::span<const Point>(pointsOf(row[0])));
    EXPECT_EQ(numbers({group.centre.x, group.centre.y, group.extremeSpread, group.meanRadius, group.deviationX,
                       group.deviationY}),
              row[1] + ' ');
  }
  EXPECT_FALSE(groupOf(std::span<const Point>()));
}

TEST(Session, GivesEachShotItsOwnTraceAndHold) {
  std::istringstream lines(sourceText("tests/scoring/traces.jsonl"));
  std::string line;
  std::getline(lines, line);
  Session session(parsed(line).getDocument());
  while (std::getline(lines, line)) session.add(parsed(line).getDocument());
  const auto rows = tableOf("traces.txt");
  ASSERT_EQ(session.shots().size(), rows.size());
  for (const Score& score : scoresOf(session, 0, Gauge::Edge)) {
    const Shot& shot = *score.shot;
    std::vector<std::optional<double>> figures;
    for (const auto& trace :
         {session.aimBefore(shot, shownBefore), session.aimBefore(shot, lastSecond), session.followThroughOf(shot)}) {
      figures.emplace_back(trace.size());
    }
    if (const auto hold = holdOf(session, 0, Gauge::Edge, shot)) {
      figures.insert(figures.end(), {static_cast<double>(hold->samples), hold->inHighestRing, hold->inNextRing,
                                     hold->nearMeanAim, hold->aiming, hold->trigger, hold->traceLength});
    }
    EXPECT_EQ(score.value ? textOf(*score.value) : "unscored", rows[shot.number - 1][1]) << shot.number;
    EXPECT_EQ(numbers(figures), rows[shot.number - 1][2] + ' ') << shot.number;
  }
}

}  // namespace
}  // namespace BX::test
