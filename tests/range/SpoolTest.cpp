// Session files: found, cut, read by line, and moved.
#include "tools/bx-range/Spool.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "tests/road/Program.h"
#include "tools/bx-range/SessionLines.h"

namespace BX::range {
namespace {

using test::Folder;
using test::readFile;

void write(const std::string& path, const std::string& text) { std::ofstream(path, std::ios::app) << text; }

TEST(Spool, FindsWhatIsLeftInItsOrderAndCutsWhatACrashLeft) {
  const Folder folder;
  const std::string path = folder.path("spool");
  std::filesystem::create_directories(path);
  write(path + "/b-_1_20261122T081500Z_12.jsonl", "{\"a\":1}\n{\"b\":2}\n{\"c\"");
  write(path + "/a_20261122T091500Z_3.jsonl", std::string("{}\n{}\n\0\0\0\n{}\n", 13));
  write(path + "/a_20261122T081500Z_9.jsonl", "{\"start\":\"");
  write(path + "/a_20261121T081500Z_11.jsonl", "{}\n");
  write(path + "/notes.txt", "mine");
  const Spool spool(path);
  std::string found;
  for (const auto& one : spool.recover()) {
    found += one.lane + ' ' + std::to_string(one.number) + ' ' + std::to_string(one.lines) + '\n';
  }
  EXPECT_EQ(found, "a 11 1\na 3 2\nb-_1 12 2\n");
  EXPECT_EQ(readFile(path + "/b-_1_20261122T081500Z_12.jsonl"), "{\"a\":1}\n{\"b\":2}\n");
  EXPECT_EQ(readFile(path + "/a_20261122T091500Z_3.jsonl"), "{}\n{}\n");
  EXPECT_FALSE(std::filesystem::exists(path + "/a_20261122T081500Z_9.jsonl"));
  EXPECT_EQ(readFile(path + "/notes.txt"), "mine");
}

TEST(Spool, KeepsWhatIsArchivedForItsTimeAndGivesItBack) {
  const Folder folder;
  const Spool spool(folder.path("spool"));
  const std::string name = sessionFileName("a_1", "2026-11-22T08:15:00Z", 7);
  EXPECT_EQ(name, "a_1_20261122T081500Z_7.jsonl");
  write(spool.pathOf(name), "{}\n");
  spool.finish(name);
  spool.prune(std::chrono::hours(1));
  EXPECT_FALSE(spool.recall("a_1", 8));
  EXPECT_FALSE(spool.recall("a", 7));
  ASSERT_TRUE(spool.recall("a_1", 7));
  EXPECT_EQ(readFile(spool.pathOf(name)), "{}\n");
  spool.finish(name);
  spool.prune(std::chrono::hours(0));
  EXPECT_FALSE(spool.recall("a_1", 7));
}

TEST(SessionLines, AreReadByNumberWhileTheFileGrows) {
  const Folder folder;
  const std::string path = folder.path("s");
  const auto lineOf = [](std::size_t line) {
    return '{' + std::string(line * 37 % 401, 'x') + std::to_string(line) + '}';
  };
  const auto textOf = [&](std::size_t first, std::size_t end) {
    std::string text;
    for (std::size_t line = first; line < end; ++line) text += (line == first ? "\n" : ",\n") + lineOf(line);
    return text;
  };
  std::ofstream file(path);
  for (std::size_t line = 0; line < 1000; ++line) file << lineOf(line) << '\n';
  file << lineOf(1000).substr(0, 20) << std::flush;
  SessionLines lines(path);
  EXPECT_EQ(lines.read(0, 200), textOf(0, 200));
  EXPECT_EQ(lines.read(200, 2000), textOf(200, 1000));
  file << lineOf(1000).substr(20) << '\n' << lineOf(1001) << '\n' << std::flush;
  EXPECT_EQ(lines.read(1000, 2), textOf(1000, 1002));
  for (const std::size_t first : {127U, 900U, 128U, 0U, 1001U, 129U})
    EXPECT_EQ(lines.read(first, 1), textOf(first, first + 1));
  EXPECT_EQ(SessionLines(path).scan().lines, 1002U);
  EXPECT_EQ(SessionLines(path).read(1001, 1), textOf(1001, 1002));
}

}  // namespace
}  // namespace BX::range
