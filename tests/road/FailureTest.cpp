// What goes wrong ends with one line that tells it, and with the exit status for it.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <regex>

#include "Program.h"

namespace BX::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;

void expectFailure(const Outcome& outcome, int status, const std::string& line) {
  EXPECT_EQ(outcome.status, status);
  EXPECT_THAT(outcome.err, AllOf(StartsWith("bx"), HasSubstr(line)));
  EXPECT_THAT(linesOf(outcome.err), SizeIs(1)) << outcome.err;
}

TEST(Failure, OfPortsFilesAndUsageIsToldBeforeADeviceIsAsked) {
  const Folder folder;
  const std::string broken = folder.write("broken.json", "{\n  \"Mounting\": ]\n}");
  const std::string wide = folder.write("wide.json", R"({"WakeupAngle": 256})");
  const std::string odd = folder.write("odd.json", R"({"TargetType": "ring", "RingTargetNumber": 1})");
  const std::tuple<std::string, int, std::string> table[] = {
      {"info /dev/none", 1, "/dev/none: open: no such port"},
      {"info /dev/null", 1, "/dev/null: open: not a serial port"},
      {"info /dev/\x1B[31m\x7F\xC2\x9B\x9B", 1, "bx: /dev/\\u001B[31m\\u007F\\u009B\xEF\xBF\xBD: open: "},
      {"settings /dev/none --force --device " + broken, 2, broken + ": line 2, column 15: not JSON"},
      {"train /dev/none --session " + wide, 2, "\"WakeupAngle\" 256 does not fit the wire (0 to 255)"},
      {"target /dev/none " + odd, 2, "\"TargetType\" \"ring\" is neither"},
      {"target /dev/none " + folder.path("x"), 2, "x: read: No such file or directory"},
      {"target /dev/none " + folder.path(""), 2, ": read: Is a directory"},
      {"download /dev/none --output " + folder.path("no/x"), 2, ": open: No such file or directory"},
      {"--trace " + folder.path("no/x") + " info /dev/none", 2, ": open: No such file or directory"}};
  for (const auto& [command, status, line] : table) {
    SCOPED_TRACE(command);
    expectFailure(bx(command), status, line);
  }
  for (const auto* usage : {"", "dance", "info", "train PORT --shots 0", "train PORT --seconds -1", "target PORT",
                            "target PORT FILE --get 1", "target PORT --get 256", "target PORT FILE --type CIRCLE",
                            "info PORT --baud fast"}) {
    expectFailure(bx(usage), 2, "bx --help tells more");
  }
}

TEST(Failure, APortInUse) {
  const Device device;
  Program first(bxCommand("train " + device.port()));
  first.awaitLines(1);
  expectFailure(bx("info " + device.port()), 1, "bx: " + device.port() + ": in use by another program");
  first.send(SIGTERM);
  EXPECT_EQ(first.await().status, 0);
}

TEST(Failure, ADeviceThatNeverAnswers) {
  const int master = posix_openpt(O_RDWR | O_NOCTTY);
  ASSERT_TRUE(grantpt(master) == 0 && unlockpt(master) == 0);
  expectFailure(bx(std::string("info ") + ptsname(master)), 1, ": connect: ");
  close(master);
}

TEST(Failure, ADeviceThatHangsUpInAStreamKeepsWhatArrived) {
  const Device device({"--rate", "500"});
  Program train(bxCommand("train " + device.port()));
  train.awaitLines(10);
  device.send(SIGTERM);
  const Outcome outcome = train.await();
  expectFailure(outcome, 1, device.port() + ": training: ");
  EXPECT_GE(linesOf(outcome.out).size(), 10U);
}

TEST(Failure, ATraceThatCannotBeWrittenIsToldOnce) {
  const Device device;
  const Outcome outcome = bx("info " + device.port() + " --quiet --trace /dev/full");
  expectFailure(outcome, 1, "bx: /dev/full: write: No space left on device");
  EXPECT_THAT(linesOf(outcome.out), SizeIs(1));
}

TEST(Failure, ARefusalIsToldByItsStep) {
  const std::string shotAtRing9 = "0 0 CA6A" + std::string(24, '0') + "09FF03" + std::string(26, '0');
  const std::tuple<const char*, std::string, std::string, const char*> table[] = {
      {"--script", "6302 =", "info PORT", "connect: refused by the device"},
      {"--script", "6509 =", "info PORT", "connect: refused by the device"},
      {"--script", "6402 =", "settings PORT --device examples/device-settings.json", "write settings: "},
      {"--script", "6C =", "target PORT examples/ring-300m-rifle.json", "upload target: "},
      {"--script", "6F03 =", "train PORT --seconds 60", "start training: "},
      {"--script", "6320 =", "download PORT", "download: "},
      {"--script", "6205FF =", "clear PORT", "clear: block 5: "},
      {"--script", "", "target PORT --get 77", "download target: ring target 77: "},
      {"--stored", shotAtRing9, "download PORT", "download: ring target 9: refused by the device"}};
  for (const auto& [option, file, command, line] : table) {
    SCOPED_TRACE(line);
    const Folder folder;
    const Device device({option, folder.write("file", file + "\n")});
    const Outcome outcome = bx("--quiet " + std::regex_replace(command, std::regex("PORT"), device.port()));
    expectFailure(outcome, 1, device.port() + ": " + line);
    EXPECT_THAT(outcome.out, IsEmpty());
  }
}

// A device that calls itself ESC [31m, DEL and a C1 byte.
TEST(Failure, OfATerminalIsNotLeftToADevice) {
  const Folder folder;
  const Device device({"--script", folder.write("script", "6300 = 596300 1B5B33316D 7F C29B\n")});
  const Outcome piped = bx("info " + device.port());
  EXPECT_THAT(piped.out, HasSubstr("\"\\u001B[31m\x7F\xC2\x9B\""));
  const std::string command = std::string(BX_PROGRAM) + " --skip-startup info " + device.port();
  const Outcome shown = Program({"script", "--quiet", "--return", "--command", command, "/dev/null"}).await();
  EXPECT_EQ(shown.status, 0);
  EXPECT_THAT(shown.out, AllOf(HasSubstr("\"\\u001B[31m\\u007F\\u009B\""), Not(HasSubstr("\x7F"))));
}

TEST(Failure, OfANameThatIsNotOursToTake) {
  const Folder folder;
  const std::string name = folder.path("lane");
  const auto failure = [&](const std::string& line) {
    expectFailure(Program({BX_SIM_PROGRAM, "--link", name}).await(), 1, "bx-sim: " + name + ": " + line);
  };
  {
    const Device device({"--link", name});
    failure("in use: a link to " + device.port());
    EXPECT_EQ(std::filesystem::read_symlink(name), device.port());
    std::filesystem::remove(name);
    std::filesystem::create_symlink(device.port(), name);  // its target, but not its link
  }
  EXPECT_TRUE(std::filesystem::is_symlink(name));
  const Device next({"--link", name});  // the terminal is gone
  EXPECT_EQ(std::filesystem::read_symlink(name), next.port());
  std::filesystem::remove(name);
  std::filesystem::create_symlink("/no/terminal", name);
  failure("is a link to /no/terminal");
}

}  // namespace
}  // namespace BX::test
