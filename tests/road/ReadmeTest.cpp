// README.md, typed and built as it is printed.
#include <gtest/gtest.h>

#include <regex>

#include "Dialogue.h"
#include "Program.h"

namespace BX::test {
namespace {

std::string replaced(const std::string& text, const char* pattern, const std::string& with) {
  return std::regex_replace(text, std::regex(pattern), with);
}

// The indented lines from the one that begins with `first` to the one before `last`, without their indent, and with the
// test's folder in the place of /tmp.
std::string printed(const std::string& first, const std::string& last) {
  std::string text;
  bool within = false;
  for (const auto& line : linesOf(readFile(BX_SOURCE_DIR "/README.md"))) {
    within = (within || line.starts_with(first)) && !line.starts_with(last);
    if (within && line.starts_with("    ")) text += line.substr(4) + '\n';
  }
  return replaced(text, "/tmp/", "$$FOLDER/");
}

// Paths and waits apart.
TEST(Readme, HoldsADialogueThatRunsAsPrinted) {
  std::string session = printed("## The first session", "## In a program");
  session = replaced(session, "bx-sim (.*) &", "bx-sim --rate 1000 $1 & until [[ -e $$FOLDER/lane1 ]]; do :; done");
  expectDialogues(R"(
    set -e; trap 'kill %1' EXIT; eval "$SESSION" 2>$FOLDER/err | 0 | ***"DiameterHighestRing":50,***"TargetName":"25m pistol"***"ShotNumber":3,*** |
    grep -i warning $FOLDER/err | 1 | |)",
                  {{"SESSION", replaced(session, "--seconds 5", "--seconds 0.5")}});
}

// Paths and the startup's wait apart, and what a sanitizer wants.
TEST(Readme, HoldsAProgramThatTellsAsPrintedWhatCameAndWhatFailed) {
  std::string build = printed("It is built", "The program writes");
  build = replaced(replaced(build, "shots.cpp", "$$FOLDER/shots.cpp " BX_LINK_OPTIONS), "-o ", "-o $$FOLDER/");
  build = replaced(replaced(build, "\\./shots", "$$FOLDER/shots"), "(\\$PWD/)?build/release/lib", BX_LIBRARY_DIR);
  expectDialogues(
      R"(
    printf %s "$PROGRAM" >$FOLDER/shots.cpp | 0 | |
    bx-sim --rate 1000 --link $FOLDER/lane1
    set -e; eval "$BUILD" | 0 | *** | shot 1: ***\nshot 5: ***, from 2...
    $FOLDER/shots /dev/none $FILES | 1 | | /dev/none: connect: no such port
    bx-sim --fault to-device:ring-upload:1:refuse
    $FOLDER/shots $PORT $FILES | 1 | | $PORT: upload target: refused by the device (request 6C...)
    bx-sim --rate 500 --fault to-host:stream:300:hangup
    $FOLDER/shots $PORT $FILES | 1 | *** | shot 1: ***\n$PORT: training: the port was hung up
    bx-sim --rate 500 --fault to-host:stream:300:restart
    $FOLDER/shots $PORT $FILES | 1 | *** | shot 1: ***\n$PORT: training: ...session)",
      {{"PROGRAM", replaced(printed("    // shots.cpp", "It is built"), "\\(port, false\\)", "(port, true)")},
       {"BUILD", build},
       {"FILES", "examples/device-settings.json examples/session-settings.json examples/ring-300m-rifle.json"}});
}

}  // namespace
}  // namespace BX::test
