// A session of bx, traced on a line that goes wrong, and replayed without its device.
#include <gmock/gmock.h>

#include <array>

#include "Program.h"
#include "tests/support/Hex.h"

namespace BX::test {
namespace {

using ::testing::Contains;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

using Lines = std::vector<std::string>;

class Replay : public ::testing::Test {
 protected:
  Replay() {
    std::string shots;
    for (std::uint8_t shot = 1; shot <= 60; ++shot) {
      shots += "CA6A" + hexOf(std::array{shot}) + std::string(2 * 27, '0') + "\n";
    }
    std::vector<std::string> arguments = {"--rate", "2000", "--stream", folder.write("stream", shots + "59\n")};
    for (const char* fault : {"to-host:information:3:drop", "to-host:stream:7:corrupt", "to-host:stream:20:duplicate",
                              "to-host:stream:33:cut", "to-device:ack:9:drop", "to-device:request:8:corrupt"}) {
      arguments.insert(arguments.end(), {"--fault", fault});
    }
    const Device device(arguments);
    port = device.port();
    printed = withoutAimingTime(bx("--trace " + folder.path("trace") + " train " + port).out);
    trace = linesOf(readFile(folder.path("trace")));
  }

  Outcome replayed(const Lines& lines, const std::string& cutLine = "") const {
    std::string text;
    for (const auto& line : lines) text += line + '\n';
    return bx("replay " + folder.write("trace", text + cutLine));
  }

  const Folder folder;
  std::string port;
  std::string printed;
  Lines trace;
};

TEST_F(Replay, PrintsTheSameRecordsThroughTheSameFaults) {
  ASSERT_THAT(linesOf(printed), SizeIs(60));
  EXPECT_THAT(trace, Contains(HasSubstr(" ! ")));
  const Outcome whole = replayed(trace);
  EXPECT_EQ(withoutAimingTime(whole.out), printed);
  EXPECT_EQ(whole.status, 0) << whole.err;
}

TEST_F(Replay, GoesAsFarAsAStumpAndTellsIt) {
  const std::string lastLine = trace.back();
  trace.resize(trace.size() - 60);
  const std::string cut = " as far as it goes: line " + std::to_string(trace.size() + 1) + " is cut\n";
  const std::pair<std::string, std::string> table[] = {{"", " as far as it goes: the end of " + port + " is missing\n"},
                                                       {lastLine.substr(0, 3), cut},
                                                       {lastLine, cut},  // but for its line feed
                                                       {"99999999 * hung-up " + port + '\n', " shots\n"}};
  for (const auto& [end, line] : table) {
    const Outcome outcome = replayed(trace, end);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.err, EndsWith(line));
    EXPECT_THAT(linesOf(outcome.out), testing::Not(IsEmpty()));
    EXPECT_THAT(printed, StartsWith(withoutAimingTime(outcome.out)));
  }
}

TEST_F(Replay, RefusesWhatIsNoTraceAndTellsWhereItDeparts) {
  Lines deaf = trace;
  std::erase_if(deaf, [](const std::string& line) { return line.find(" < ") != std::string::npos; });
  deaf.insert(deaf.begin() + 2, trace[2]);  // the first answer only, and none to what follows
  const std::tuple<Lines, int, const char*> table[] = {
      {deaf, 1, "departs from the trace: line "},
      {{"no trace"}, 2, ":1: no line of a trace"},
      {{"0 * opened a", "5 < 00112200 a"}, 2, ":2: no sound frame"},
      {{}, 2, "nothing was traced"},
      {{std::string(65536, '1')}, 2, ":1: longer than any line of a trace"},
      {{"0 * opened a", "0 * opened b"}, 2, "choose a port by --port, one of: a b"},
      {Lines(trace.begin() + 1, trace.end()), 2, ":1: a trace begins when its port"}};
  for (const auto& [lines, status, reason] : table) {
    const Outcome outcome = replayed(lines);
    EXPECT_EQ(outcome.status, status);
    EXPECT_THAT(outcome.err, HasSubstr(reason));
  }
}

}  // namespace
}  // namespace BX::test
