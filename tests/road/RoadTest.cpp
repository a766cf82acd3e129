// The main job, end to end: the real programs on a real pseudo-terminal.
#include <gtest/gtest.h>

#include "Dialogue.h"
#include "tests/support/Table.h"

namespace BX::test {
namespace {

// Shots, measurements and no records in turn, each with its number as the tilt, and any bytes else.
TEST(Road, EveryStreamedPayloadIsOneLineInOrderUntilInterrupted) {
  expectDialogues(R"(
    awk 'BEGIN {for (; i < 5000; ++i) {printf "CA" substr("6A6500", i % 3 * 2 + 1, 2); for (at = 2; at < 34; ++at) printf "%02X", at == 8 ? i / 256 : at == 9 ? i % 256 : 256 * rand(); print ""}}' >$FOLDER/stream | 0 | |
    bx-sim --rate 2000 --stream $FOLDER/stream
    $BX train $PORT --quiet >$FOLDER/o & until [ $(wc -l <$FOLDER/o) -ge 5000 ]; do :; done; kill -INT $! && wait $!; wc -l <$FOLDER/o | 0 | 5000 |
    awk -F '"Tilt":' 'NR % 3 && $2 + 0 != NR - 1' $FOLDER/o | 0 | |)");
}

// Some are forced upon the wire as the library makes them, with the device settings that were read. The last device
// says less than it should, and something unknown of what it does when it is switched on.
TEST(Road, SettingsAndTargetsGoUpAndWhatComesDownIsTakenBack) {
  expectDialogues(R"(
    bx-sim --transcript $FOLDER/transcript
    bx info $PORT \p tee $FOLDER/info | 0 | {..."SerialNumber":"...",...} |
    bx settings $PORT \p cmp - $FOLDER/info && grep '^> 64' $FOLDER/transcript | 1 | |
    echo '{"isInFieldMode": false, "NumberOfBullets": 300}' >$FOLDER/session | 0 | |
    bx settings $PORT --force --session $FOLDER/session >$FOLDER/forced | 0 | | ***"NumberOfBullets" 300 does not fit the wire***missing "UseZeroing", "GraphicDisplay", "HitSoundBuzzer"***
    cmp $FOLDER/forced $FOLDER/info && grep '^> 64' $FOLDER/transcript | 0 | > 640010...\n> 64011C21FFFF002C...\n...\n... |
    echo '{"isInFieldMode":false,"NumberOfBullets":1,"WakeupAngle":2,"ShotRejectionAngle":3,"SleepTimeout":4,"TriggerSensitivity":255,"CockingDelay":25.4}' >$FOLDER/session | 0 | |
    bx --quiet settings $PORT --device $FOLDER/info --session $FOLDER/session --target examples/ring-300m-rifle.json >$FOLDER/written | 0 | |
    bx info $PORT --all >$FOLDER/all | 0 | |
    printf '{"settings":%s,"session":%s,"usageInformation":"12 h 345 shots","errorCounters":"0","ringTargetInUse":2,"silhouetteTargetInUse":null}\n' "`cat $FOLDER/written`" "`cat $FOLDER/session`" \p diff - $FOLDER/all | 0 | |
    bx target $PORT --get 2 >$FOLDER/ring | 0 | |
    tr -d ' ' <examples/ring-300m-rifle.json \p grep -oE '"(RingT.*N\pNom\pDiam).*:[0-9]+' \p sort >$FOLDER/given | 0 | |
    grep -oE '"(RingT[a-z]*N\pNom\pDiam)[^:]*:[0-9]+' $FOLDER/ring \p sort \p diff - $FOLDER/given | 0 | |
    bx target $PORT $FOLDER/ring | 0 | | ***missing "NumberOfPrisms"***Target uploaded.
    printf '6500 = 596500100003\n6501 = 5965011C21FF05\n6306 = 0000\n' >$FOLDER/script | 0 | |
    bx-sim --script $FOLDER/script
    bx info $PORT --all | 0 | {"settings":{...},"session":{},"usageInformation":"...","errorCounters":null,"ringTargetInUse":null,"silhouetteTargetInUse":null} |)");
}

// The device may have stored more than training took from it.
TEST(Road, ASessionIsWrittenStoredDownloadedAndCleared) {
  expectDialogues(R"(
    bx-sim --rate 2000
    bx train $PORT --quiet --shots 3 --device examples/device-settings.json --session examples/session-settings.json --target examples/ring-300m-rifle.json --output $FOLDER/s | 0 | |
    head -1 $FOLDER/s | 0 | {"start":"...","port":"$PORT","device":{...},"session":{...},"target":{...}} |
    (printf '"target":'; sed 's/^ *//; s/: /:/' examples/ring-300m-rifle.json \p tr -d '\n') >$FOLDER/target | 0 | |
    head -1 $FOLDER/s \p grep -cFf $FOLDER/target | 0 | 1 |
    sed -Ei '1d; s/"aimingTime":[^,}]*//; s/,"received":[0-9]+//' $FOLDER/s; tail -1 $FOLDER/s | 0 | {..."ShotNumber":3,...} |
    bx --quiet download $PORT \p sed 's/"aimingTime":[^,}]*//' \p head -n $(wc -l <$FOLDER/s) \p cmp - $FOLDER/s | 0 | |
    bx --quiet clear $PORT && bx --quiet download $PORT | 0 | |)");
}

TEST(Road, VerboseShowsTheLibrarysOwnLinesPrintableOnStandardError) {
  expectDialogues(R"(
    bx-sim --rate 2000 --link $FOLDER/lane$'\x1B'
    bx train $FOLDER/lane$'\x1B' --shots 1 --verbose 2>$FOLDER/err | 0 | {***"ShotNumber"... |
    grep -c 'lane\\u001B: {' $FOLDER/err; grep -c $'\x1B' $FOLDER/err | 1 | ...\n0 |)");
}

// Records without their keys, with numbers that no double holds, of no kind, and cut; a name full of markup; several
// targets, one of them a silhouette; what is no session.
TEST(Road, ReportsWhatASessionWasWorth) { expectDialogues(textIn(BX_SOURCE_DIR "/tests/road/report.txt")); }

TEST(Road, WhatNeedsNoDevice) {
  expectDialogues(R"(
    TMPDIR=$FOLDER bx demo --shots 1 | 0 | ***     1   9.5 ***Reported:    ...bx-demo-...***Done*** |
    bx ports --json | 0 | *** | ***
    bx help train | 0 | Usage: bx train PORT***--shots N***--trace FILE*** |
    cmp <(bx help train) <(bx train --help) | 0 | |
    bx-sim --help | 0 | Usage: bx-sim [OPTION]...***--fault RULE*** |
    for c in '' {1..11}; do bx help $(bx help \p awk -v n=$c 'n && NR == n + 5 {print $1}'); done >$FOLDER/help | 0 | |
    awk '/^Usage/ {++n; at = NR} NR > at + 39 \p\p length > 80; END {print n}' $FOLDER/help | 0 | 12 |
    bx info --version | 0 | bx 0... |
    bx-sim --version | 0 | bx-sim 0... |)");
}

}  // namespace
}  // namespace BX::test
