// A gate with simulated lanes, a broker and the archive, all of them programs of their own.
#include <gmock/gmock.h>

#include <csignal>
#include <filesystem>
#include <fstream>

#include "RealBroker.h"

namespace BX::range {
namespace {

namespace fs = std::filesystem;
using test::Folder;
using test::Program;
using test::readFile;
using ::testing::HasSubstr;

class Gate : public ::testing::Test {
 protected:
  std::string configWith(const std::string& name, const std::vector<std::string>& lanes) {
    std::string list;
    for (const auto& lane : lanes) {
      list += (list.empty() ? R"({"name":")" : R"(,{"name":")") + lane + R"(","port":")" + folder_.path("lane" + lane) +
              R"(","target":")" BX_SOURCE_DIR R"(/examples/ring-25m-precision-pistol.json"})";
    }
    const std::string path = folder_.path(name + ".json");
    std::ofstream(path) << R"({"broker":{"host":"127.0.0.1","port":)" << broker_.address().port
                        << R"(},"range":"hall","machine":"a","spool":")" << name << R"(","lanes":[)" << list << "]}";
    return path;
  }
  void await(const std::string& topic, const std::string& text) { witness_.await("bx/v1/hall/" + topic, text); }
  void confirm(const std::string& lane, const std::string& text) {
    witness_.broker.publish("bx/v1/hall/a/" + lane + "/archived", text, true);
  }
  static Program start(std::vector<std::string> words) {
    words.insert(words.begin(), BX_RANGE_PROGRAM);
    return Program(words);
  }
  std::string spooled(const std::string& where) const {
    std::string text;
    for (const auto& entry : fs::directory_iterator(folder_.path(where))) {
      if (entry.path().extension() == ".jsonl") text += readFile(entry.path());
    }
    return text;
  }

  const Folder folder_;
  test::RealBroker broker_;
  test::Client witness_{broker_, "", {"bx/#"}};
  const test::Device device_{{"--lanes", "2", "--rate", "200", "--link", folder_.path("lane%d")}};
};

TEST_F(Gate, ArchivesEachSessionByteForByteAcrossTheBrokersDeath) {
  const std::string config = configWith("spool", {"0", "1", "gone"});
  const std::string database = folder_.path("db");
  Program gate = start({"gate", "--skip-startup", config});
  await("a/status", "running");
  await("a/gone/status", "no such port");
  await("a/0/score", "\"shots\":1,");
  broker_.kill();
  broker_.start();
  Program archive = start({"archive", config, database});
  await("a/1/archived", "\"lines\":");
  EXPECT_EQ(start({"next", config, "0"}).await().status, 0);
  EXPECT_THAT(start({"next", config, "gone"}).await().err, HasSubstr("lane gone: next: does not train"));
  EXPECT_THAT(start({"gate", config}).await().err, HasSubstr("in use by another gate"));
  await("a/0/archived", "\"ended\":true");
  gate.send(SIGTERM);
  const auto outcome = gate.await();
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.err, HasSubstr("3 sessions, "));
  await("a/status", "lost");
  await("a/0/session", "\"lines\":");
  const auto exported = [&](const std::string& spool) {
    std::string all;
    for (const auto& entry : fs::directory_iterator(folder_.path(spool + "/done"))) {
      const std::string name = entry.path().stem();
      const auto session = start({"export", database, name.substr(name.rfind('_') + 1)}).await();
      EXPECT_EQ(session.out, readFile(entry.path())) << session.err;
      all += session.out;
    }
    EXPECT_EQ(spooled(spool), "");
    return std::count(all.begin(), all.end(), '\n');
  };
  const auto lines = exported("spool");
  EXPECT_GT(lines, 300);
  // The database is lost, the files are moved back, and the broker still holds that all of it is archived.
  archive.send(SIGTERM);
  archive.await();
  fs::remove(database);
  fs::rename(folder_.path("spool/done"), folder_.path("back"));
  const std::string rest = configWith("back", {"gone"});
  const Program anew = start({"archive", rest, database});
  const Program sender = start({"gate", rest});
  witness_.await([&] { return spooled("back").empty(); });
  EXPECT_EQ(exported("back"), lines);
}

TEST_F(Gate, GoesOnWhereAKilledOneStopped) {
  const std::string config = configWith("spool", {"0", "1"});
  {
    Program gate = start({"gate", "--skip-startup", config});
    await("a/1/score", "\"shots\":1,");
    gate.send(SIGKILL);
  }
  await("a/status", "lost");
  const std::string before = spooled("spool");
  const std::string fewer = configWith("fewer", {"0"});
  fs::rename(folder_.path("spool"), folder_.path("fewer"));
  const std::string taken = folder_.path("fewer/1_20261122T081500Z_6.jsonl");
  std::ofstream(folder_.path("fewer/1_20261122T081500Z_5.jsonl")) << "{\"sessionNumber\":5}\n";
  std::ofstream(taken) << "{\"sessionNumber\":6}\n";
  Program gate = start({"gate", "--skip-startup", fewer});
  for (const auto* const what : {"status", "session", "score"}) await(std::string("a/1/") + what, "");
  fs::remove(taken);
  Program archive = start({"archive", fewer, folder_.path("db")});
  // Though the lane is none of this gate's any more, and one of its sessions is gone.
  const std::string& archived = witness_.last["bx/v1/hall/a/1/archived"].payload;
  witness_.await([&] {
    return archived.find("\"ended\":true") != std::string::npos && archived.find("\"session\":5,") == std::string::npos;
  });
  gate.send(SIGINT);
  EXPECT_THAT(gate.await().err, HasSubstr(taken + ": open: No such file or directory; what the archive does not"));
  const std::string after = spooled("fewer/done");
  for (const auto& line : test::linesOf(before)) EXPECT_THAT(after, HasSubstr(line + '\n'));
}

TEST_F(Gate, LeavesTheBrokerToAnotherOneOfItsNameAndTrainsOn) {
  Program first = start({"gate", "--skip-startup", configWith("first", {"0"})});
  await("a/0/status", "training");
  Program second = start({"gate", "--skip-startup", configWith("second", {"1"})});
  await("a/1/status", "training");
  await("a/status", "\"running\"");
  for (int shots = 1; shots < 4; ++shots) await("a/1/score", "\"shots\":" + std::to_string(shots));
  const auto size = spooled("first").size();
  while (spooled("first").size() == size) await("a/1/status", "training");
  first.send(SIGTERM);
  EXPECT_THAT(first.await().err, HasSubstr("another client has taken the name \"bx-gate-hall-a\""));
  second.send(SIGTERM);
  EXPECT_THAT(second.await().err, ::testing::Not(HasSubstr("another client")));
}

TEST_F(Gate, HasItsSessionsTakenByTheArchiveThatCameLast) {
  witness_.connect();
  // What an earlier archive confirmed, of other sessions, comes for long after the connection: it is no rival.
  for (int lane = 0; lane < 200; ++lane)
    confirm(std::to_string(lane), R"({"session":1,"lines":7,"ended":true,"archive":5})");
  await("a/199/archived", "5");
  const std::string config = configWith("spool", {"0"});
  Program gate = start({"gate", "--skip-startup", config});
  Program first = start({"archive", config, folder_.path("first")});
  await("a/0/archived", "\"ended\":false");
  Program second = start({"archive", config, folder_.path("second")});
  EXPECT_THAT(first.await().err, HasSubstr("first: archive: ended: another one archives this range"));
  EXPECT_EQ(start({"next", config, "0"}).await().status, 0);
  await("a/0/archived", "\"ended\":true");
}

TEST_F(Gate, EndsWhenAnArchiveThatGoesOnConfirmingIsDone) {
  Program gate = start({"gate", "--skip-startup", configWith("spool", {"0"})});
  await("a/0/score", "\"shots\":1,");
  gate.send(SIGTERM);
  await("a/0/session", "\"lines\":");
  const std::string& session = witness_.last["bx/v1/hall/a/0/session"].payload;
  const auto lines = test::linesOf(spooled("spool")).size();
  for (std::size_t step = 1; step <= 60; ++step) {  // twenty a second
    confirm("0", session.substr(0, session.find(',')) + ",\"lines\":" + std::to_string(lines * step / 60) +
                     ",\"ended\":" + (step < 60 ? "false}" : "true}"));
    witness_.await([isOver = false]() mutable { return std::exchange(isOver, true); });
  }
  EXPECT_THAT(gate.await().err, HasSubstr("; 0 sessions not archived yet"));
}

}  // namespace
}  // namespace BX::range
