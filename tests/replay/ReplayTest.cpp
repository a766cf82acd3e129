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
#include "tools/bx/Tool.h"

namespace BX::tool {
namespace {

using namespace std::chrono_literals;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::SizeIs;

using Lines = std::vector<std::string>;

Lines linesOf(std::istream&& text) {
  Lines lines;
  for (std::string line; std::getline(text, line);) lines.push_back(line);
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
  return linesOf(std::istringstream(std::regex_replace(text.str(), std::regex(R"("aimingTime":[-+.e0-9]+)"), "")));
}

sim::Options faulty() {
  sim::Options options;
  options.rate = 2000;
  options.stream.emplace();
  for (std::uint8_t shot = 1; shot <= 60; ++shot) {
    options.stream->push_back(test::bytesOf("CA6A" + test::hexOf(std::vector{shot}) + std::string(2 * 27, '0')));
  }
  options.stream->push_back({0x59});
  for (const char* fault : {"to-host:information:3:drop", "to-host:stream:7:corrupt", "to-host:stream:20:duplicate",
                            "to-host:stream:33:cut", "to-device:ack:9:drop", "to-device:request:8:corrupt"}) {
    options.faults.push_back(sim::parseFaultRule(fault));
  }
  return options;
}

class Replay : public ::testing::Test {
 protected:
  Replay() {
    link::LoopbackLine line;
    const sim::Simulator device(faulty(), line.deviceEnd());
    link::setTransport("lane 1", [&](const std::string&) { return line.hostEnd(); });
    link::setTraceFile(path);
    printed = outputOf([](Tool& tool) { runTrain(tool, {.port = "lane 1", .files = {}, .output = {}}); });
    link::setTraceFile("");
    link::setTransport("lane 1", {});
    trace = linesOf(std::ifstream(path));
  }
  ~Replay() override {
    link::setOptions({});
    std::filesystem::remove(path);
  }

  Lines replayed(const Lines& lines) const {
    std::ofstream file(path);
    for (const auto& line : lines) file << line << '\n';
    file.close();
    return outputOf([&](Tool& tool) { runReplay(tool, {.file = path, .port = {}, .target = {}}); });
  }
  std::string failureOf(const Lines& lines) const {
    try {
      replayed(lines);
    } catch (const Failure& failure) {
      return failure.what();
    }
    return "none";
  }

  const std::string path = testing::TempDir() + "bx-replay-" + std::to_string(getpid());
  Lines printed;
  Lines trace;
};

TEST_F(Replay, PrintsTheSameRecordsThroughTheSameFaults) {
  ASSERT_THAT(printed, SizeIs(60));
  EXPECT_THAT(trace, Contains(HasSubstr(" ! ")));
  EXPECT_EQ(replayed(trace), printed);
}

TEST_F(Replay, GoesOnToTheEndOfATraceThatWasBrokenOffOrHungUp) {
  trace.resize(trace.size() - 60);
  for (int i = 0; i < 2; ++i) {
    const Lines records = replayed(trace);
    EXPECT_FALSE(records.empty());
    EXPECT_EQ(records, Lines(printed.begin(), printed.begin() + static_cast<std::ptrdiff_t>(records.size())));
    trace.push_back("99999999 * hung-up lane 1");
  }
}

TEST_F(Replay, TellsWhereItDepartsFromTheTrace) {
  link::setOptions({.resend = 5ms, .reply = 50ms});
  Lines deaf = trace;
  std::erase_if(deaf, [](const std::string& line) { return line.find(" < ") != std::string::npos; });
  deaf.insert(deaf.begin() + 2, trace[2]);  // the first answer only, and none to what follows
  EXPECT_THAT(failureOf(deaf), HasSubstr("departs from the trace: line "));
}

TEST_F(Replay, RefusesWhatIsNoTrace) {
  EXPECT_THAT(failureOf({"no trace"}), HasSubstr(":1: no line of a trace"));
  EXPECT_THAT(failureOf({"0 * opened a", "5 < 00112200 a"}), HasSubstr(":2: no sound frame"));
  EXPECT_THAT(failureOf({}), HasSubstr("nothing was traced"));
  EXPECT_THAT(failureOf({"0 * opened a", "0 * opened b"}), HasSubstr("choose a port by --port, one of: a b"));
  EXPECT_THAT(failureOf(Lines(trace.begin() + 1, trace.end())), HasSubstr(":1: a trace begins when its port"));
}

}  // namespace
}  // namespace BX::tool
