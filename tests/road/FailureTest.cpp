// What goes wrong ends with one line that tells it, and with the exit status for it.
#include <gtest/gtest.h>

#include "Dialogue.h"
#include "tests/support/Table.h"

namespace BX::test {
namespace {

TEST(Failure, OfPortsFilesAndUsageIsToldBeforeADeviceIsAsked) {
  expectDialogues(textIn(BX_SOURCE_DIR "/tests/road/files.txt"));
}

TEST(Failure, OfUsageTellsWhatWasMeant) { expectDialogues(textIn(BX_SOURCE_DIR "/tests/road/usage.txt")); }

TEST(Failure, ARefusalIsToldByItsStep) { expectDialogues(textIn(BX_SOURCE_DIR "/tests/road/refusals.txt")); }

// A device that calls itself ESC [31m, DEL and a C1 byte.
TEST(Failure, OfATerminalIsNotLeftToADevice) {
  expectDialogues(R"(
    bx-sim --script <(echo '6300 = 596300 1B5B33316D 7F C29B')
    bx info $PORT \p grep -c $'"\\\\u001B\\[31m\x7F\xC2\x9B"' | 0 | 1 |
    script --quiet --return --command "$BX --skip-startup info $PORT" $FOLDER/log \p grep -c $'\x7F' | 1 | 0 |
    grep -c '"\\u001B\[31m\\u007F\\u009B"' $FOLDER/log | 0 | 1 |)");
}

// A link is only taken over when its terminal is gone, and only taken away by whoever made it.
TEST(Failure, OfANameThatIsNotOursToTake) {
  expectDialogues(R"(
    bx-sim --link $FOLDER/lane
    bx-sim --link $FOLDER/lane | 1 | | bx-sim: $FOLDER/lane: in use: a link to $PORT, which is open
    readlink $FOLDER/lane; rm $FOLDER/lane; ln -s $PORT $FOLDER/lane | 0 | $PORT |
    bx-sim --version
    test -L $FOLDER/lane && ln -sfn /dev/pts/99999 $FOLDER/lane | 0 | |
    bx-sim --link $FOLDER/lane
    readlink $FOLDER/lane; ln -sfn /no/terminal $FOLDER/lane | 0 | $PORT |
    bx-sim --link $FOLDER/lane | 1 | | bx-sim: $FOLDER/lane: is a link to /no/terminal...
    bx-sim --link $FOLDER | 1 | | bx-sim: $FOLDER: exists and is no symbolic link
    echo kept >$FOLDER/kept; (bx-sim --transcript $FOLDER/kept); echo $?; cat $FOLDER/kept | 0 | 2\nkept | bx-sim: $FOLDER/kept: open: exists and is not empty...
    bx-sim --link $FOLDER/full --transcript /dev/full & await 'bx info -q $FOLDER/full 2>&9' 9>$FOLDER/errors; kill %1; wait %1 | 1 | ***} | bx-sim: /dev/full: write: No space left on device; lines kept: 0)");
}

}  // namespace
}  // namespace BX::test
