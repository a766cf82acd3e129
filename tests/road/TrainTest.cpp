// Training, whatever happens: nothing that was acknowledged is lost, and what was kept is told.
#include <gmock/gmock.h>
#include <signal.h>

#include <memory>
#include <thread>

#include "Dialogue.h"
#include "Program.h"
#include "tests/support/Table.h"

namespace BX::test {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

// The lines of a file that begin with `prefix`, once there are `count` of them.
std::vector<std::string> awaitLines(const std::string& path, const std::string& prefix, std::size_t count) {
  for (;;) {
    auto lines = linesOf(readFile(path));
    std::erase_if(lines, [&](const std::string& line) { return !line.starts_with(prefix); });
    if (lines.size() >= count) return lines;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
}

TEST(Train, TellsWhichTargetIsMissingAndTakesTheStoredOne) {
  expectDialogues(textIn(BX_SOURCE_DIR "/tests/road/targets.txt"));
}

TEST(Train, TakesNoOtherFilesPlaceAndTellsWhatWasKept) {
  expectDialogues(textIn(BX_SOURCE_DIR "/tests/road/kept.txt"));
}

TEST(Train, ShowsATableOnATerminalWhenTheRecordsGoElsewhere) {
  expectDialogues(textIn(BX_SOURCE_DIR "/tests/road/terminal.txt"));
}

TEST(Train, ServesAPageBesideItsFile) { expectDialogues(textIn(BX_SOURCE_DIR "/tests/road/live.txt")); }

// Nobody reads standard output until the device has been told to stop.
TEST(Train, WritesAllThatWasAcknowledgedWhateverEndsIt) {
  const char* cases[][3] = {
      {"-INT", "", "500"}, {"-TERM", "", "500"}, {"-HUP", "", "500"}, {"-0", "--seconds 0.5", "1"}};
  for (const auto& [signal, limit, first] : cases) {
    expectDialogues(R"(
      bx-sim --rate 2000 --transcript $FOLDER/t
      mkfifo $FOLDER/p; $BX --skip-startup train $PORT --quiet $LIMIT >$FOLDER/p & exec 3<$FOLDER/p; await "[ \$(grep -c '^< CA' $FOLDER/t) -ge $FIRST ]"; kill $SIGNAL $!; kill $SIGNAL $!; await "[ \$(grep -c '^> 6F04' $FOLDER/t) -ge 2 ]"; [ $(wc -l <&3) = $(grep -c '^< CA' $FOLDER/t) ] && wait $! | 0 | |)",
                    {{"FIRST", first}, {"LIMIT", limit}, {"SIGNAL", signal}});
  }
}

// What the device answers is late, so that the signal comes in the middle.
TEST(Train, LeavesTheDeviceAtRestWhenASignalComesInTheMiddle) {
  expectDialogues(R"(
    bx-sim --latency 50 --transcript $FOLDER/t
    $BX --skip-startup clear $PORT & await "grep -q '^> 6F06' $FOLDER/t"; kill -INT $!; wait $!; grep '^> 6F' $FOLDER/t \p tail -1 | 0 | > 6F0473 | ...
    $BX --skip-startup train $PORT --quiet >$FOLDER/o & await "grep -q '^> 6F03' $FOLDER/t"; kill -INT $!; wait $!; grep '^> 6F' $FOLDER/t \p tail -1; grep -c '^< CA' $FOLDER/t \p cmp - <(grep -c . $FOLDER/o) | 0 | > 6F0473 | ...)");
}

TEST(Train, EndsAtOnceWithASignalBeforeItBegins) {
  expectDialogues(R"(
    bx-sim
    $BX train $PORT --quiet --trace $FOLDER/t --output $FOLDER/s & await "grep -q ' [*] opened' $FOLDER/t"; kill -INT $!; wait $! | 130 | | bx: $PORT: connect: interrupted
    bx-sim --latency 60000
    $BX train $PORT --quiet --trace $FOLDER/u --output $FOLDER/s & await "grep -q ' > ' $FOLDER/u"; kill -INT $!; wait $! | 130 | | bx: $PORT: connect: interrupted
    ls $FOLDER | 0 | t\nu |)");
}

TEST(Train, GoesOnAfterALossAndTellsTheGap) {
  const Folder folder;
  const std::string lane = folder.path("lane");
  const std::vector<std::string> arguments = {"--rate", "500", "--link", lane};
  auto device = std::make_unique<Device>(arguments);
  Program train(bxCommand("train --quiet " + lane + " --retry 600 --output " + folder.path("s")));
  awaitLines(folder.path("s"), "{\"Pos", 10);
  device.reset();
  device = std::make_unique<Device>(arguments);
  awaitLines(folder.path("s"), R"({"gap":{"from":)", 1);
  awaitLines(folder.path("s"), "{", awaitLines(folder.path("s"), "{", 0).size() + 10);
  train.send(SIGINT);
  EXPECT_EQ(train.await().status, 0);

  Program lost(bxCommand("train --quiet " + lane + " --retry 0.1"));
  lost.awaitLines(10);
  device.reset();
  const Outcome outcome = lost.await();
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, StartsWith("bx: " + lane + ": training: the port was hung up; not back within "));
  EXPECT_THAT(outcome.err, HasSubstr("; kept " + std::to_string(linesOf(outcome.out).size()) + " records, "));
}

}  // namespace
}  // namespace BX::test
