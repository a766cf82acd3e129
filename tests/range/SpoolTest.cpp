// Session files: found, cut, read by line, and moved.
#include "tools/bx-range/Spool.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>

#include "platform/OutputFile.h"
#include "tests/road/Program.h"
#include "tests/support/Table.h"
#include "tools/bx-range/SessionLines.h"

namespace BX::range {
namespace {

using test::Folder;
using test::readFile;

void write(const std::string& path, const std::string& text) { std::ofstream(path, std::ios::app) << text; }

// Tells what comes of each file of the table beside this.
TEST(Spool, FindsWhatIsLeftCutsWhatACrashLeftAndPutsTheRestAside) {
  const Folder folder;
  const std::string path = folder.path("spool");
  std::filesystem::create_directories(path);
  auto rows = test::rowsOf(test::textIn(BX_SOURCE_DIR "/tests/range/spool.txt"));
  std::erase_if(rows, [](const auto& row) { return row[0].starts_with('#'); });
  for (auto& row : rows) {
    std::replace(row[1].begin(), row[1].end(), '$', '\n');
    std::replace(row[1].begin(), row[1].end(), '^', '\0');
    write(path + '/' + row[0], row[1]);
  }
  ASSERT_EQ(::mkfifo((path + "/a_20261122T081500Z_1.jsonl").c_str(), 0600), 0);
  const Spool spool(path);
  std::string complaints, order;
  std::map<std::string, std::size_t> found;
  for (const auto& one : spool.recover("hall/a", [&](const std::string& text) { complaints += text + '\n'; })) {
    order += one.lane + ' ' + std::to_string(one.number) + ' ';
    found[one.name] = one.lines;
  }
  EXPECT_EQ(order, "a 11 a 3 b-_1 12 ");
  for (const auto& row : rows) {
    const std::string file = spool.pathOf(row[0]);
    if (const auto session = found.find(row[0]); session != found.end()) {
      EXPECT_EQ(std::to_string(session->second), row[2]) << row[0];
      EXPECT_EQ(readFile(file), row[1].substr(0, row[1].rfind('\n') + 1));
    } else if (row[2].starts_with(".damaged")) {
      EXPECT_THAT(complaints, ::testing::HasSubstr(file + row[2] + '\n'));
      EXPECT_EQ(readFile(file + row[2].substr(0, row[2].find(':'))), row[1]);
    } else {
      EXPECT_EQ(std::filesystem::exists(file) ? "let be" : "removed", row[2]) << row[0];
    }
  }
}

TEST(Spool, KeepsWhatIsArchivedForItsTimeAndGivesItBack) {
  const Folder folder;
  const Spool spool(folder.path("spool"));
  const std::string name = sessionFileName("a_1", "2026-11-22T08:15:00Z", 7);
  EXPECT_EQ(name, "a_1_20261122T081500Z_7.jsonl");
  write(spool.pathOf(name), "{\"sessionNumber\":7}\n");
  spool.finish(name);
  spool.prune(std::chrono::hours(1));
  EXPECT_FALSE(spool.recall("a_1", 8));
  EXPECT_FALSE(spool.recall("a", 7));
  EXPECT_EQ(spool.recover("hall/a", {}).size(), 0U);
  ASSERT_TRUE(spool.recall("a_1", 7));
  EXPECT_EQ(readFile(spool.pathOf(name)), "{\"sessionNumber\":7}\n");
  EXPECT_THROW(spool.recover("hall/b", {}), platform::OutputError);
  EXPECT_EQ(spool.recover("hall/a", {}).size(), 1U);
  spool.finish(name);
  EXPECT_EQ(spool.recover("hall/b", {}).size(), 0U);  // nothing waits: it is taken over
  write(folder.path("spool/done/" + name), "{}{\n");
  EXPECT_THROW(spool.recall("a_1", 7), platform::OutputError);
  EXPECT_FALSE(spool.recall("a_1", 7));
  write(spool.pathOf(name), "{}\n");
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
  EXPECT_EQ(lines.read(200, 800), textOf(200, 1000));
  EXPECT_THROW(lines.read(200, 801), platform::OutputError);
  file << lineOf(1000).substr(20) << '\n' << lineOf(1001) << '\n' << std::flush;
  EXPECT_EQ(lines.read(1000, 2), textOf(1000, 1002));
  for (const std::size_t first : {127U, 900U, 128U, 0U, 1001U, 129U})
    EXPECT_EQ(lines.read(first, 1), textOf(first, first + 1));
  EXPECT_EQ(SessionLines(path).scan().lines, 1002U);
  EXPECT_EQ(SessionLines(path).read(1001, 1), textOf(1001, 1002));
}

}  // namespace
}  // namespace BX::range
