// A session of bx, traced on a line that goes wrong, and replayed without its device.
#include <gmock/gmock.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <regex>
#include <sstream>

#include "bx/BXSerialLink.h"
#include "platform/serial/LoopbackLine.h"
#include "simulator/Simulator.h"
#include "tests/support/Hex.h"
#include "tools/bx/Recording.h"
#include "tools/bx/Tool.h"

namespace BX::tool {
namespace {

using namespace std::chrono_literals;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::SizeIs;

using Lines = std::vector<std::string>;

Lines linesOf(const std::string& text) {
  Lines lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

// The lines that a subcommand prints. The aiming time is measured by the host's clock, so it is left out.
Lines outputOf(const std::function<void(Tool&)>& run) {
  const std::ostringstream text;
  {
    const std::unique_ptr<std::streambuf, void (*)(std::streambuf*)> before(
        std::cout.rdbuf(text.rdbuf()), [](std::streambuf* buffer) { std::cout.rdbuf(buffer); });
    Tool tool;
    tool.global.skipStartup = true;
    tool.console.beQuiet();
    run(tool);
  }
  return linesOf(std::regex_replace(text.str(), std::regex(R"("aimingTime":[-+.e0-9]+)"), ""));
}

sim::Options faulty() {
  sim::Options options;
  options.rate = 2000;
  options.stream.emplace();
  for (int shot = 1; shot <= 60; ++shot) {
    auto payload = test::bytesOf("CA6A00 00 0001 0002 0000 0000 0000 05 FF 03 00 000001 00 0000 000000 00 0000");
    payload[2] = static_cast<std::uint8_t>(shot);
    options.stream->push_back(payload);
  }
  options.stream->push_back({0x59});
  for (const char* fault : {"to-host:information:3:drop", "to-host:stream:7:corrupt", "to-host:stream:20:duplicate",
                            "to-host:stream:33:cut", "to-device:ack:9:drop", "to-device:request:8:corrupt"}) {
    options.faults.push_back(sim::parseFaultRule(fault));
  }
  return options;
}

// One session for all tests: its fixed waits are real.
class Replay : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    link::LoopbackLine line;
    const sim::Simulator device(faulty(), line.deviceEnd());
    link::setTransport("lane 1", [&](const std::string&) { return line.hostEnd(); });
    ASSERT_TRUE(link::setTraceFile(path()));
    printed() = outputOf([](Tool& tool) { runTrain(tool, {.port = "lane 1", .files = {}, .output = {}}); });
    link::setTraceFile("");
    link::setTransport("lane 1", {});
    std::ifstream file(path());
    trace() = linesOf((std::ostringstream() << file.rdbuf()).str());
  }
  static void TearDownTestSuite() { std::filesystem::remove(path()); }
  void TearDown() override { link::setOptions({}); }

  static std::string path() {
    return (std::filesystem::temp_directory_path() / ("bx-replay-" + std::to_string(getpid()))).string();
  }
  static Lines& printed() {
    static Lines lines;
    return lines;
  }
  static Lines& trace() {
    static Lines lines;
    return lines;
  }
  static Lines replayed(const Lines& lines) {
    std::ofstream file(path());
    for (const auto& line : lines) file << line << '\n';
    file.close();
    return outputOf([](Tool& tool) { runReplay(tool, {.file = path(), .port = {}, .target = {}}); });
  }
  static std::string failureOf(const Lines& lines) {
    try {
      replayed(lines);
    } catch (const Failure& failure) {
      return failure.what();
    }
    return "none";
  }
};

TEST_F(Replay, PrintsTheSameRecordsThroughTheSameFaults) {
  ASSERT_THAT(printed(), SizeIs(60));
  EXPECT_THAT(trace(), Contains(HasSubstr(" ! ")));
  EXPECT_EQ(replayed(trace()), printed());
}

TEST_F(Replay, GoesOnToTheEndOfATraceThatWasBrokenOff) {
  const Lines begun(trace().begin(), trace().end() - 60);
  const Lines records = replayed(begun);
  EXPECT_FALSE(records.empty());
  EXPECT_EQ(records, Lines(printed().begin(), printed().begin() + static_cast<std::ptrdiff_t>(records.size())));
}

TEST_F(Replay, EndsWithTheHangUpOfTheTrace) {
  Lines hungUp(trace().begin(), trace().end() - 60);
  hungUp.push_back("99999999 * hung-up lane 1");
  const Lines records = replayed(hungUp);
  EXPECT_FALSE(records.empty());
  EXPECT_EQ(records, Lines(printed().begin(), printed().begin() + static_cast<std::ptrdiff_t>(records.size())));
}

TEST_F(Replay, TellsWhereItDepartsAndEnds) {
  link::setOptions({.resend = 5ms, .reply = 50ms});
  Lines deaf = trace();
  std::erase_if(deaf, [](const std::string& line) { return line.find(" < ") != std::string::npos; });
  deaf.insert(deaf.begin() + 2, trace()[2]);  // the first answer only, and none to what follows
  EXPECT_THAT(failureOf(deaf), HasSubstr("departs from the trace: line "));
}

TEST_F(Replay, RefusesWhatIsNoTrace) {
  EXPECT_THAT(failureOf({"no trace"}), HasSubstr(":1: no line of a trace"));
  EXPECT_THAT(failureOf({"0 * opened a", "5 < 00112200 a"}), HasSubstr(":2: no sound frame"));
  EXPECT_THAT(failureOf({}), HasSubstr("nothing was traced"));
  EXPECT_THAT(failureOf({"0 * opened a", "0 * opened b"}), HasSubstr("choose a port by --port, one of: a b"));
  EXPECT_THAT(failureOf(Lines(trace().begin() + 1, trace().end())), HasSubstr(":1: a trace begins when its port"));
}

}  // namespace
}  // namespace BX::tool
