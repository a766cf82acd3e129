// What goes wrong ends with one line that tells it, and with the exit status for it.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

#include <iterator>
#include <sstream>

#include "Program.h"

namespace BX::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

void expectFailure(const Outcome& outcome, int status, const std::string& line) {
  EXPECT_EQ(outcome.status, status);
  EXPECT_THAT(outcome.err, AllOf(StartsWith("bx: "), HasSubstr(line)));
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

TEST(Failure, ARefusalIsToldByItsStep) {
  const std::string examples = std::string(BX_SOURCE_DIR) + "/examples/";
  const std::string shotAtRing9 = "0 0 CA6A" + std::string(24, '0') + "09FF03" + std::string(26, '0');
  const struct {
    const char* option;
    std::string file;
    const char* subcommand;
    std::vector<std::string> arguments;
    const char* line;
  } table[] = {{"--script", "6302 =", "info", {}, "connect: refused by the device"},
               {"--script", "6509 =", "info", {}, "connect: refused by the device"},
               {"--script", "6402 =", "settings", {"--device", examples + "device-settings.json"}, "write settings: "},
               {"--script", "6C =", "target", {examples + "ring-300m-rifle.json"}, "upload target: "},
               {"--script", "6F03 =", "train", {"--seconds", "60"}, "start training: "},
               {"--script", "6320 =", "download", {}, "download: "},
               {"--script", "6205FF =", "clear", {}, "clear: block 5: "},
               {"--script", "", "target", {"--get", "77"}, "download target: ring target 77: "},
               {"--stored", shotAtRing9, "download", {}, "download: ring target 9: refused by the device"}};
  for (const auto& [option, file, subcommand, arguments, line] : table) {
    SCOPED_TRACE(line);
    const Folder folder;
    const Device device({option, folder.write("file", file + "\n")});
    std::vector<std::string> command = {"--quiet", subcommand, device.port()};
    command.insert(command.end(), arguments.begin(), arguments.end());
    const Outcome outcome = bx(command);
    expectFailure(outcome, 1, device.port() + ": " + line);
    EXPECT_THAT(outcome.out, IsEmpty());
  }
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
  for (const auto* command : {"", "dance", "info", "train PORT --shots 0", "train PORT --seconds -1", "target PORT",
                              "target PORT FILE --get 1", "target PORT --get 256", "target PORT FILE --type CIRCLE",
                              "info PORT --baud fast"}) {
    SCOPED_TRACE(command);
    std::istringstream words(command);
    expectFailure(bx({std::istream_iterator<std::string>(words), {}}), 2, "bx --help tells more");
  }
}

}  // namespace
}  // namespace BX::test
