// A host in C against simulated devices.
#include <gtest/gtest.h>

#include "tests/road/Dialogue.h"

namespace BX::test {
namespace {

TEST(C, TravelsTheWholeRoad) {
  expectDialogues(R"(
    bx-sim --rate 2000
    $BX travel $PORT | 0 | *** |
    awk 'BEGIN { for (i = 0; i < 1000; ++i) { line = "CA" (i % 2 ? "6A" : "65"); for (j = 0; j < 28; ++j) line = line sprintf("%02X", rand() * 256); print line } }' >$FOLDER/random | 0 | |
    bx-sim --rate 2000 --stream $FOLDER/random
    TRACE=$FOLDER/trace $BX train $PORT && [ ! -e $FOLDER/trace ] | 0 | *** | ***
    bx-sim --rate 2000 --fault to-host:stream:300:hangup
    $BX lose $PORT | 0 | *** | ***
    bx-sim --latency 80
    $BX cancel $PORT | 0 | | ***)");
}

TEST(C, RefusesWhatIsNoManagerOrNoSense) {
  expectDialogues(R"(
    $BX version | 0 | $NUMBER $NUMBER |
    $BX misuse | 0 | |)",
                  {{"NUMBER", BX_VERSION_NUMBER}});
}

TEST(C, ConnectsManyLanesAtOnce) {
  expectDialogues(R"(
    bx-sim --lanes 2 --link lane% | 2 | | bx-sim: lane%: needs %d...
    bx-sim --lanes 2 --link $FOLDER/l%d >&2 & await '[ -e $FOLDER/l1 ]'; kill %1; wait %1; ls $FOLDER | 0 | | ***
    ln -s /dev/pts/gone $FOLDER/lane7 | 0 | |
    bx-sim --rate 100 --lanes 32 --link $FOLDER/lane%d --transcript $FOLDER/%d-%d.txt
    $BX lanes $FOLDER/lane{0..31} | 0 | ***32 lanes connected in***destroyed, as they stream, in*** | ***
    ls $FOLDER \p grep -c "^\([0-9]*\)-\1.txt$"; test -s $FOLDER/31-31.txt | 0 | 32 |)");
}

TEST(C, EndsAtAnyMoment) {
  expectDialogues(R"(
    bx-sim --rate 1000 --lanes 8 --link $FOLDER/lane%d
    $BX end $FOLDER/lane{0..7} | 0 | ***the slowest end took*** | ***)");
}

}  // namespace
}  // namespace BX::test
