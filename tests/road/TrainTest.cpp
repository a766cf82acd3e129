// Training, whatever happens: nothing that was acknowledged is lost, and what was kept is told.
#include <gmock/gmock.h>
#include <signal.h>

#include <memory>
#include <thread>

#include "Dialogue.h"
#include "Program.h"

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
  expectDialogues(R"(
    bx-sim --rate 2000
    bx train $PORT --quiet --shots 2 --device examples/device-settings.json --target examples/ring-25m-precision-pistol.json >$FOLDER/own | 0 | |
    bx train $PORT --shots 2 --output $FOLDER/none | 0 | | bx: warning: $PORT: no target is given, but the device has ring target 1 in use: ... --target-number 1 ...\nbx: warning: $PORT: shot 1 names ring target 1, which was not given: ... --target-number 1\n... 2 shots in $FOLDER/none
    head -1 $FOLDER/none | 0 | {..."session":{},"target":null} |
    tail -1 $FOLDER/none | 0 | ..."Distance":-0.75,..."received":...} |
    bx train $PORT --shots 2 --target-number 1 --output $FOLDER/stored | 0 | | ... records, 2 shots in $FOLDER/stored
    head -1 $FOLDER/stored | 0 | {..."target":{"RingTargetNumber":1,...,"NominalDistance":25,...}} |
    [[ $(tail -1 $FOLDER/own) == *'"Distance":24.25,'* && $(tail -1 $FOLDER/stored) == *'"Distance":24.25,'* ]] | 0 | |
    bx train $PORT --quiet --seconds 0.1 --device examples/device-settings.json --output $FOLDER/off; bx info $PORT --all | 0 | ..."ringTargetInUse":null,... |
    bx train $PORT --seconds 0.1 --target-number 1 --output $FOLDER/on | 0 | | bx: warning: $PORT: the device tells of no ring target in use, not of 1\n... in $FOLDER/on
    bx train $PORT --target-number 9 | 1 | | bx: $PORT: download target: ring target 9: refused...
    bx train $PORT --quiet --shots 2 --shots-only --target-number 1 \p grep -c ShotNumber | 0 | 2 |
    bx-sim --script <(echo '6D01 = 596D')
    bx train $PORT --target-number 1 | 1 | | bx: $PORT: download target: the device's answer is no ring target)");
}

TEST(Train, TakesNoOtherFilesPlaceAndTellsWhatWasKept) {
  expectDialogues(R"(
    bx-sim --rate 2000 --transcript $FOLDER/t
    flock $FOLDER/s $BX --skip-startup train $PORT --quiet --output $FOLDER/s; grep '> 6F' $FOLDER/t \p tail -1 | 0 | > 6F0473 | bx: $FOLDER/s: open: in use by another program
    bx train $PORT --quiet --shots 1 --output $FOLDER/s | 0 | |
    bx train $PORT --quiet --shots 1 --output $FOLDER/s | 2 | | bx: $FOLDER/s: open: exists and is not empty (--overwrite replaces it)
    bx train $PORT --quiet --shots 1 --output $FOLDER/s --overwrite; grep -c '^{' $FOLDER/s | 0 | ... |
    bx train /dev/none --output $FOLDER/never; ls $FOLDER | 0 | s\nt | bx: /dev/none: open: no such port
    mkfifo $FOLDER/unread; bx train $PORT --quiet --output $FOLDER/unread; rm $FOLDER/unread | 0 | | bx: $FOLDER/unread: open: No such device or address
    bx train $PORT --output $FOLDER/x --trace $FOLDER/x | 2 | | bx: $FOLDER/x: is given as --output and as --trace
    bx train $PORT --quiet --output /dev/full | 1 | | bx: /dev/full: write: No space left on device; kept 0 records, 0 shots in /dev/full
    bx train $PORT --quiet >/dev/full | 1 | | bx: standard output: write: No space left on device; kept 0 records, 0 shots
    ulimit -f 8; bx train $PORT --quiet --output $FOLDER/big | 1 | | bx: $FOLDER/big: write: File too large; kept ... records, 0 shots in $FOLDER/big
    tail -c 2 $FOLDER/big | 0 | } |
    bx train $PORT --shots 1 --overwrite --output $FOLDER/s 2>&-; grep -vc '^{.*}$' $FOLDER/s | 1 | 0 |
    set -o pipefail; bx train $PORT \p head -1 | 0 | {...} | ***
    bx train $PORT --quiet --shots 1 >&- | 1 | | bx: standard output: write: Bad file descriptor; kept 0 records, 0 shots)");
}

TEST(Train, ShowsATableOnATerminalWhenTheRecordsGoElsewhere) {
  expectDialogues(R"(
    bx-sim --rate 2000
    on-terminal train $PORT --shots 2 --output $FOLDER/s | 0 | ***Connecting...***  shot  value  ***\n     1  ***     2  ***2 shots in $FOLDER/s... |
    (printf '\x13'; until grep -qs 'ShotNumber":3,' $FOLDER/t; do sleep 0.1; done; printf '\x11'; sleep 1) \p on-terminal train $PORT --shots 3 --output $FOLDER/t | 0 | ***3 shots in $FOLDER/t... |
    on-terminal train $PORT --shots 2 --output $FOLDER/q --quiet | 0 | |
    on-terminal train $PORT --shots 2 '>$FOLDER/o' | 0 | ***Connecting...***2 shots... |
    script --quiet --return --command "stty cols 12; $BX --skip-startup train $PORT --shots 1 --output $FOLDER/n" /dev/null \p grep -c 'shots, [0-9]* record' | 1 | 0 |
    bx train $PORT --shots 1 --output $FOLDER/p | 0 | | bx: warning: ...\n... records, 1 shot in $FOLDER/p)");
}

TEST(Train, ServesAPageBesideItsFile) {
  expectDialogues(R"(
    bx-sim --rate 2000
    $BX --skip-startup train $PORT --live --output $FOLDER/s 2>$FOLDER/e & until at=$(grep -o '127[^/]*' $FOLDER/e); do :; done; bx train /dev/none --live $at; exec 3<>/dev/tcp/${at/:/\/}; printf 'GET /events HTTP/1.1\r\nHost: localhost\r\n\r\n' >&3; until read -r line <&3; [[ $line == data* ]]; do :; done; kill $!; cat <&3 >$FOLDER/live; wait $! | 0 | | bx: 127.0.0.1:...: listen: in use by another program
    grep '^id' $FOLDER/live \p tail -1 \p diff - <(echo id: $(grep -c Position $FOLDER/s)) && grep -c '"state":"ended"' $FOLDER/live | 0 | 1 |)");
}

// Nobody reads standard output until the device has been told to stop.
TEST(Train, WritesAllThatWasAcknowledgedWhateverEndsIt) {
  const char* cases[][3] = {
      {"-INT", "", "500"}, {"-TERM", "", "500"}, {"-HUP", "", "500"}, {"-0", "--seconds 0.5", "1"}};
  for (const auto& [signal, limit, first] : cases) {
    expectDialogues(R"(
      bx-sim --rate 2000 --transcript $FOLDER/t
      mkfifo $FOLDER/p; $BX --skip-startup train $PORT --quiet $LIMIT >$FOLDER/p & exec 3<$FOLDER/p; until [ $(grep -c '^< CA' $FOLDER/t) -ge $FIRST ]; do :; done; kill $SIGNAL $!; kill $SIGNAL $!; until [ $(grep -c '^> 6F04' $FOLDER/t) -ge 2 ]; do :; done; [ $(wc -l <&3) = $(grep -c '^< CA' $FOLDER/t) ] && wait $! | 0 | |)",
                    {{"FIRST", first}, {"LIMIT", limit}, {"SIGNAL", signal}});
  }
}

// What the device answers is late, so that the signal comes in the middle.
TEST(Train, LeavesTheDeviceAtRestWhenASignalComesInTheMiddle) {
  expectDialogues(R"(
    bx-sim --latency 50 --transcript $FOLDER/t
    $BX --skip-startup clear $PORT & until grep -q '^> 6F06' $FOLDER/t; do :; done; kill -INT $!; wait $!; grep '^> 6F' $FOLDER/t \p tail -1 | 0 | > 6F0473 | ...
    $BX --skip-startup train $PORT --quiet >$FOLDER/o & until grep -q '^> 6F03' $FOLDER/t; do :; done; kill -INT $!; wait $!; grep '^> 6F' $FOLDER/t \p tail -1; grep -c '^< CA' $FOLDER/t \p cmp - <(grep -c . $FOLDER/o) | 0 | > 6F0473 | ...)");
}

TEST(Train, EndsAtOnceWithASignalBeforeItBegins) {
  expectDialogues(R"(
    bx-sim
    $BX train $PORT --quiet --trace $FOLDER/t --output $FOLDER/s & until grep -qs ' [*] opened' $FOLDER/t; do :; done; kill -INT $!; wait $! | 130 | | bx: $PORT: connect: interrupted
    bx-sim --latency 60000
    $BX train $PORT --quiet --trace $FOLDER/u --output $FOLDER/s & until grep -qs ' > ' $FOLDER/u; do :; done; kill -INT $!; wait $! | 130 | | bx: $PORT: connect: interrupted
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
