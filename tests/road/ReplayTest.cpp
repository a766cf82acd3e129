// A session of bx, traced on a line that goes wrong, and replayed without its device.
#include <gtest/gtest.h>

#include "Dialogue.h"
#include "tests/support/Table.h"

namespace BX::test {
namespace {

// `. $FOLDER/replay FILE` replays a trace and holds what comes against the beginning of what was printed.
TEST(Replay, PrintsTheSameRecordsThroughTheSameFaultsAsFarAsTheTraceGoes) {
  expectDialogues(textIn(BX_SOURCE_DIR "/tests/road/replayed.txt"), {{"UNTIMED", "sed s/,.aimingTime.:[^,}]*//"}});
}

}  // namespace
}  // namespace BX::test
