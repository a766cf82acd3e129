// What the archive takes, confirms and gives back.
#include <gmock/gmock.h>

#include <memory>
#include <random>
#include <regex>
#include <span>
#include <tuple>

#include "tests/road/Program.h"
#include "tests/support/Table.h"
#include "tools/bx-range/Intake.h"
#include "tools/bx-range/StoreReader.h"

namespace BX::range {
namespace {

using ::testing::ThrowsMessage;

using Lines = std::vector<std::string>;

std::string messageOf(const std::string& session, std::size_t first, std::span<const std::string> lines, bool isEnd) {
  std::string text;
  for (const auto& line : lines) text += (text.empty() ? "\n" : ",\n") + line;
  return R"({"session":)" + session + R"(,"first":)" + std::to_string(first) + R"(,"lines":[)" + text +
         (text.empty() ? "]" : "\n]") + (isEnd ? R"(,"end":true})" : "}");
}

Lines sessionOf(const std::string& number, std::size_t lines) {
  Lines session{R"({"start":"2026-11-22T08:00:00Z","sessionNumber":)" + number + '}'};
  session.resize(std::min<std::size_t>(lines, 1));
  while (session.size() < lines) session.push_back(R"({"ShotNumber":)" + std::to_string(session.size()) + "}");
  return session;
}

std::string told(const std::vector<Standing>& standings) {
  std::string text;
  for (const auto& [machine, lane, session, lines, ended] : standings) {
    text += (text.empty() ? "" : ", ") + std::to_string(session) + ": " + std::to_string(lines);
    text += ended ? " ended" : "";
  }
  return text;
}

// What the archive answers to "chunk SESSION FIRST LINES [end]", "end SESSION LINES", "commit", or a message itself.
std::string answer(Intake& intake, const std::string& machine, const std::string& lane, const std::string& said) try {
  static const std::regex form(R"((chunk|end) (\d+) (\d+)( (\d+))?( end)?)");
  if (said == "commit") return told(intake.commit());
  std::string message = std::regex_replace(said, std::regex(R"(\\n)"), "\n");
  if (std::smatch word; std::regex_match(said, word, form)) {
    const std::size_t first = std::stoul(word[3]);
    const std::size_t count = word[5].matched ? std::stoul(word[5]) : 0;
    const Lines lines = sessionOf(word[2], first + count);
    message = messageOf(word[2], first, std::span(lines).subspan(first), word[1] == "end" || word[6].matched);
  }
  intake.take(machine, lane, message);
  return {};
} catch (const Unusable& problem) {
  return problem.what();
}

TEST(Intake, TakesWhatGoesOnAndConfirmsWhatIsCommitted) {
  const test::Folder folder;
  Store store(folder.path("db"));
  std::string lane;
  std::optional<Intake> intake;
  for (const auto& row : test::rowsOf(test::textIn(BX_SOURCE_DIR "/tests/range/intake.txt"))) {
    if (row.size() > 1) {
      EXPECT_EQ(answer(*intake, "a", lane, row[0]), row[1]) << lane << ": " << row[0];
    } else {
      lane = row[0];
      intake.emplace(store);
    }
  }
  EXPECT_THROW(intake->take("a", "1", messageOf("7", 0, {}, true) + std::string(16 << 20, ' ')), Unusable);
}

std::string fileIn(const std::string& database, std::size_t at) {
  StoreReader reader(database);
  std::string text;
  reader.read(reader.sessions().at(at), [&](std::string_view part) {
    text += part;
    return true;
  });
  return text;
}

// Chunks that begin anywhere near where the archive stands, and an archive that ends at any moment.
TEST(Intake, KeepsEveryLineOnceWhateverComesAndWhateverEnds) {
  const Lines session = sessionOf("7", 400);
  std::string all;
  for (const auto& line : session) all += line + '\n';
  for (unsigned seed = 1; seed <= 10; ++seed) {
    std::mt19937 random(seed);
    const auto draw = [&](std::size_t most) { return std::uniform_int_distribution<std::size_t>(0, most)(random); };
    const test::Folder folder;
    std::optional<Store> store(folder.path("db"));
    std::optional<Intake> intake(*store);
    Standing last;
    while (!last.ended) {
      const std::size_t near = static_cast<std::size_t>(last.lines) + draw(40);
      const std::size_t first = std::min(near - std::min(near, draw(30)), session.size());
      const std::size_t count = std::min(draw(30), session.size() - first);
      intake->take("a", "1",
                   messageOf("7", first, std::span(session).subspan(first, count), first + count == session.size()));
      const auto happens = draw(9);
      if (happens <= 4) {
        const auto confirmed = intake->commit();
        ASSERT_GE(confirmed.at(0).lines, last.lines);  // what was confirmed is never taken back
        last = confirmed.at(0);
      } else if (happens == 9) {
        intake.reset();
        store.reset();
        intake.emplace(store.emplace(folder.path("db")));
      }
    }
    ASSERT_EQ(fileIn(folder.path("db"), 0), all) << "seed " << seed;
    EXPECT_EQ(StoreReader(folder.path("db")).sessions().at(0).kept.shots, 399) << "seed " << seed;
  }
}

// All rows that a query gives, a line each.
std::string query(const std::string& path, const std::string& sql) {
  Database database(path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
  Statement row(database, sql.c_str());
  std::string text;
  while (row.next()) text += (text.empty() ? "" : "; ") + row.text(0);
  return text;
}

TEST(Store, TellsShotsInColumnsAndForgetsTraces) {
  const std::string target =
      R"("target":{"TargetType":"RING","RingTargetNumber":1,"NominalShootingDistanceUnit":"Meters",)"
      R"("NominalDistance":25,"CaliberUnit":"Millimeters","Caliber":5.6,"RingGapUnitType":)"
      R"("Millimeters","RingsGapsUnit":"Fixed","HighestRing":10,"MinimumRing":1,"HitRingGap":25,)"
      R"("DiameterX":25,"DiameterHighestRing":50})";
  const Lines lines{
      R"({"start":"2026-11-22T08:00:00Z","device":{"SerialNumber":"B7"},"sessionNumber":7,)" + target + '}',
      R"({"PositionX":1,"PositionY":2})",
      R"({"RingTargetNumber":1,"ShotNumber":255,"PositionX":26,"PositionY":-6.5,"aimingTime":1.5,"received":90})",
      R"({"RingTargetNumber":9,"ShotNumber":0,"PositionX":1,"PositionY":2})",
      R"({"ShotNumber":1})",
      R"({"gap":{"later":"ShotNumber"}})",
      R"({"ShotNumber":)"};
  const test::Folder folder;
  const std::string path = folder.path("db");
  Store store(path);
  Intake intake(store);
  intake.take("a", "1", messageOf("7", 0, std::span(lines).first(4), false));
  intake.commit();
  intake.take("a", "1", messageOf("7", 4, std::span(lines).subspan(4), true));
  intake.commit();
  EXPECT_EQ(query(path, "SELECT machine || lane || session || start || device || lines || shots FROM sessions"),
            "a172026-11-22T08:00:00ZB773");
  EXPECT_EQ(
      query(path, "SELECT json_array(number, line, received, x, y, value, tenths, innerTen, aimingTime) FROM shots"),
      "[1,2,90,26.0,-6.5,10,100,0,1.5]; [2,3,null,1.0,2.0,null,null,null,null]; "
      "[3,4,null,null,null,null,null,null,null]");
  EXPECT_FALSE(store.forgetTraces(1));
  query(path, "UPDATE sessions SET ended = strftime('%Y-%m-%dT%H:%M:%SZ', 'now', '-25 hours')");
  EXPECT_TRUE(store.forgetTraces(1));
  EXPECT_FALSE(store.forgetTraces(1));
  EXPECT_EQ(query(path, "SELECT count(*) || (SELECT count(*) FROM shots) FROM chunks"), "03");
  EXPECT_FALSE(StoreReader(path).sessions().at(0).hasTraces);
}

TEST(Export, ListsSessionsAndGivesBackTheOneThatIsMeant) {
  const test::Folder folder;
  const std::string path = folder.path("db");
  const auto send = [&, store = std::make_shared<Store>(path)](const std::string& machine, const std::string& said) {
    Intake intake(*store);
    answer(intake, machine, "1", said);
    intake.commit();
    store->forgetTraces(1);
  };
  send("a", "chunk 8 0 2 end");
  query(path, "UPDATE sessions SET ended = '2026-11-01T08:00:00Z'");
  send("a", "chunk 7 0 2 end");
  send("b", "chunk 7 0 1");
  const std::string header = sessionOf("7", 1)[0] + '\n';
  for (const auto& [session, status, out, err] : std::vector<std::tuple<std::string, int, std::string, std::string>>{
           {"", 0,
            "a/1/8  2026-11-22T08:00:00Z  2 lines, 1 shot, shots alone\n"
            "a/1/7  2026-11-22T08:00:00Z  2 lines, 1 shot\n"
            "b/1/7  2026-11-22T08:00:00Z  1 line, 0 shots, not ended\n",
            ""},
           {"a/1/7", 0, header + "{\"ShotNumber\":1}\n", ""},
           {"b/1/7", 0, header, "warning: DB: export: b/1/7 has not ended: 1 line so far"},
           {"7", 2, "", "DB: export: choose one of: a/1/7 b/1/7"},
           {"9", 2, "", "DB: export: no session 9 (without SESSION they are listed)"},
           {"8", 1, "", "DB: export: the traces of a/1/8 were deleted; the table \"shots\" has its 1 shot"}}) {
    std::vector<std::string> command{BX_RANGE_PROGRAM, "export", path};
    if (!session.empty()) command.push_back(session);
    const auto outcome = test::Program(command).await();
    EXPECT_EQ(outcome.status, status) << session;
    EXPECT_EQ(outcome.out, out);
    EXPECT_EQ(std::regex_replace(outcome.err, std::regex(path), "DB"), err.empty() ? "" : "bx-range: " + err + '\n');
  }
}

TEST(Store, RefusesWhatIsNoneOfItsOwnAndChangesNothingThere) {
  const test::Folder folder;
  const auto refusal = [](const std::string& path) -> std::string {
    try {
      const Store store(path);
      return "taken";
    } catch (const DatabaseError& error) {
      return error.what();
    }
  };
  query(folder.path("foreign"), "CREATE TABLE t (c)");
  query(folder.path("other"), "PRAGMA application_id = 7");
  std::ofstream(folder.path("text")) << std::string(5000, 'x');
  const std::string foreign = test::readFile(folder.path("foreign"));
  EXPECT_EQ(refusal(folder.path("foreign")), "a database of another program");
  EXPECT_EQ(refusal(folder.path("other")), "a database of another program");
  EXPECT_EQ(refusal(folder.path("text")), "file is not a database");
  EXPECT_EQ(test::readFile(folder.path("foreign")), foreign);
  EXPECT_EQ(refusal(folder.path("")), "Is a directory");
  EXPECT_EQ(refusal(folder.path("none/db")), "No such file or directory");
  {
    const Store store(folder.path("db"));
    EXPECT_EQ(refusal(folder.path("db")), "in use by another archive");
  }
  EXPECT_EQ(refusal(folder.path("db")), "taken");
  query(folder.path("db"), "PRAGMA user_version = 2");
  EXPECT_EQ(refusal(folder.path("db")), "an archive of version 2, and not of version 1");
}

}  // namespace
}  // namespace BX::range
