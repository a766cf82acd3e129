// What goes wrong ends with one line that tells it, and with the exit status for it.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

#include "Program.h"

namespace BX::test {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

void expectFailure(const Outcome& outcome, int status, const std::string& line) {
  EXPECT_EQ(outcome.status, status);
  EXPECT_THAT(outcome.err, StartsWith("bx: "));
  EXPECT_THAT(outcome.err, HasSubstr(line));
  EXPECT_THAT(linesOf(outcome.err), SizeIs(1)) << outcome.err;
}

TEST(Failure, APortThatIsNone) {
  expectFailure(bx({"info", "/dev/no-such-port"}), 1, "/dev/no-such-port: open: no such port");
  expectFailure(bx({"info", "/dev/null"}), 1, "/dev/null: open: not a serial port");
}

TEST(Failure, APortInUse) {
  const Device device;
  Program first(bxCommand({"train", device.port()}));
  first.awaitLines(1);
  expectFailure(bx({"info", device.port()}), 1, "bx: " + device.port() + ": in use by another program");
  first.send(SIGTERM);
  EXPECT_EQ(first.await().status, 0);
}

TEST(Failure, ADeviceThatNeverAnswers) {
  const int master = posix_openpt(O_RDWR | O_NOCTTY);
  ASSERT_EQ(grantpt(master), 0);
  ASSERT_EQ(unlockpt(master), 0);
  expectFailure(bx({"info", ptsname(master)}), 1, ": connect: ");
  close(master);
}

TEST(Failure, ADeviceThatHangsUpInAStreamKeepsWhatArrived) {
  const Device device({"--rate", "500"});
  Program train(bxCommand({"train", device.port()}));
  train.awaitLines(10);
  device.send(SIGTERM);
  const Outcome outcome = train.await();
  expectFailure(outcome, 1, device.port() + ": training: ");
  EXPECT_GE(linesOf(outcome.out).size(), 10U);
}

struct Refusal {
  const char* name;
  const char* script;
  std::vector<std::string> arguments;  // PORT stands for the port
  const char* line;
};

class Refusals : public ::testing::TestWithParam<Refusal> {};

TEST_P(Refusals, AreTold) {
  const Folder folder;
  const Device device({"--script", folder.write("script", GetParam().script)});
  auto arguments = GetParam().arguments;
  for (auto& argument : arguments) {
    if (argument == "PORT") argument = device.port();
    if (argument.ends_with(".json")) argument = std::string(BX_SOURCE_DIR) + "/examples/" + argument;
  }
  arguments.push_back("--quiet");
  expectFailure(bx(arguments), 1, device.port() + ": " + GetParam().line);
}

INSTANTIATE_TEST_SUITE_P(
    Failure, Refusals,
    ::testing::Values(
        Refusal{"Information", "6302 =\n", {"info", "PORT"}, "connect: refused by the device"},
        Refusal{"ParameterSet", "6509 =\n", {"info", "PORT"}, "connect: refused by the device"},
        Refusal{"Settings", "6402 =\n", {"settings", "PORT", "--device", "device-settings.json"}, "write settings: "},
        Refusal{"Upload", "6C =\n", {"target", "PORT", "ring-300m-rifle.json"}, "upload target: "},
        Refusal{"Stream", "6F03 =\n", {"train", "PORT", "--seconds", "60"}, "start training: "},
        Refusal{"PageTable", "6320 =\n", {"download", "PORT"}, "download: "},
        Refusal{"Clear", "6205FF =\n", {"clear", "PORT"}, "clear: block 5: "},
        Refusal{"Target", "", {"target", "PORT", "--get", "77"}, "download target: ring target 77: "}),
    [](const auto& instance) { return std::string(instance.param.name); });

TEST(Failure, AStoredShotAtATargetThatTheDeviceLacks) {
  const Folder folder;
  const std::string shotAtRing9 =
      "CA6A010000000000000000000000"
      "09FF"
      "0300000000000000000000000000";
  const Device device({"--stored", folder.write("stored", "0 0 " + shotAtRing9 + "\n")});
  const Outcome outcome = bx({"download", device.port()});
  expectFailure(outcome, 1, device.port() + ": download: ring target 9: refused by the device");
  EXPECT_THAT(outcome.out, IsEmpty());
}

TEST(Failure, BadInputIsRefusedBeforeThePortIsOpened) {
  const Folder folder;
  const std::string port = "/dev/no-such-port";
  const std::string broken = folder.write("broken.json", "{\n  \"Mounting\": ]\n}");
  expectFailure(bx({"settings", port, "--force", "--device", broken}), 2, broken + ": line 2, column 15: not JSON");
  const std::string wide = folder.write("wide.json", R"({"WakeupAngle": 256})");
  expectFailure(bx({"train", port, "--session", wide}), 2, "\"WakeupAngle\" 256 does not fit the wire (0 to 255)");
  const std::string odd = folder.write("odd.json", R"({"TargetType": "ring", "RingTargetNumber": 1})");
  expectFailure(bx({"target", port, odd}), 2, "\"TargetType\" \"ring\" is neither");
  expectFailure(bx({"target", port, folder.path("none.json")}), 2, "none.json: read: No such file or directory");
  expectFailure(bx({"target", port, folder.path("")}), 2, ": read: Is a directory");
  expectFailure(bx({"download", port, "--output", folder.path("no/folder")}), 2, ": open: No such file or directory");
}

TEST(Failure, WrongUsage) {
  const std::vector<std::vector<std::string>> commands = {{},
                                                          {"dance"},
                                                          {"info"},
                                                          {"train", "PORT", "--shots", "0"},
                                                          {"train", "PORT", "--seconds", "-1"},
                                                          {"target", "PORT"},
                                                          {"target", "PORT", "FILE", "--get", "1"},
                                                          {"target", "PORT", "--get", "256"},
                                                          {"target", "PORT", "FILE", "--type", "CIRCLE"},
                                                          {"info", "PORT", "--baud", "fast"}};
  for (const auto& command : commands) expectFailure(bx(command), 2, "bx --help tells more");
}

TEST(Failure, HelpAndVersionSucceed) {
  EXPECT_EQ(bx({"train", "--help"}).status, 0);
  EXPECT_THAT(bx({"info", "--version"}).out, StartsWith("bx "));
}

}  // namespace
}  // namespace BX::test
