// The main job, end to end: the real programs on a real pseudo-terminal.
#include <gtest/gtest.h>

#include "Dialogue.h"
#include "tests/support/Table.h"

namespace BX::test {
namespace {

// Shots, measurements and no records in turn, each with its number as the tilt, and any bytes else.
TEST(Road, EveryStreamedPayloadIsOneLineInOrderUntilInterrupted) {
  expectDialogues(textIn(BX_SOURCE_DIR "/tests/road/streamed.txt"));
}

// Some are forced upon the wire as the library makes them, with the device settings that were read. The last device
// says less than it should, and something unknown of what it does when it is switched on.
TEST(Road, SettingsAndTargetsGoUpAndWhatComesDownIsTakenBack) {
  expectDialogues(textIn(BX_SOURCE_DIR "/tests/road/written.txt"));
}

// The device may have stored more than training took from it.
TEST(Road, ASessionIsWrittenStoredDownloadedAndCleared) {
  expectDialogues(textIn(BX_SOURCE_DIR "/tests/road/stored.txt"));
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

TEST(Road, WhatNeedsNoDevice) { expectDialogues(textIn(BX_SOURCE_DIR "/tests/road/alone.txt")); }

}  // namespace
}  // namespace BX::test
