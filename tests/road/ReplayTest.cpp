// A session of bx, traced on a line that goes wrong, and replayed without its device.
#include <gtest/gtest.h>

#include "Dialogue.h"

namespace BX::test {
namespace {

// `. $FOLDER/replay FILE` replays a trace and holds what comes against the beginning of what was printed.
TEST(Replay, PrintsTheSameRecordsThroughTheSameFaultsAsFarAsTheTraceGoes) {
  expectDialogues(R"(
    (for i in {1..60}; do printf 'CA6A%02X%054d\n' $i 0; done; echo 59) >$FOLDER/stream | 0 | |
    bx-sim --rate 2000 --stream $FOLDER/stream --fault to-host:information:3:drop --fault to-host:stream:7:corrupt --fault to-host:stream:20:duplicate --fault to-host:stream:33:cut --fault to-device:ack:9:drop --fault to-device:request:8:corrupt
    bx --quiet --trace $FOLDER/t train $PORT \p $UNTIMED >$FOLDER/printed; wc -l <$FOLDER/printed; grep -c ' ! ' $FOLDER/t | 0 | 60\n... | ***
    echo 'set -o pipefail; bx replay $1 \p $UNTIMED >$FOLDER/o && test -s $FOLDER/o && cmp -n $(stat -c %s $FOLDER/o) $FOLDER/o $FOLDER/printed' >$FOLDER/replay | 0 | |
    bx replay $FOLDER/t \p $UNTIMED \p cmp - $FOLDER/printed; test $PIPESTATUS = 0 | 0 | | ...
    bx replay --quiet $FOLDER/t \p true; echo ${PIPESTATUS[0]} | 0 | 0 |
    head -n -60 $FOLDER/t >$FOLDER/cut; . $FOLDER/replay $FOLDER/cut | 0 | | *** as far as it goes: the end of $PORT is missing
    (cat $FOLDER/cut; tail -1 $FOLDER/t \p head -c 3) >$FOLDER/a; set -o pipefail; (. $FOLDER/replay $FOLDER/a) 2>&1 \p grep -c "as far as it goes: line $(($(wc -l <$FOLDER/a) + 1)) is cut" | 0 | 1 |
    (cat $FOLDER/cut; tail -1 $FOLDER/t \p tr -d '\n') >$FOLDER/a; set -o pipefail; (. $FOLDER/replay $FOLDER/a) 2>&1 \p grep -c "as far as it goes: line $(($(wc -l <$FOLDER/a) + 1)) is cut" | 0 | 1 |
    (cat $FOLDER/cut; echo "99999999 * hung-up $PORT") >$FOLDER/a; . $FOLDER/replay $FOLDER/a | 0 | | *** shots
    sed '3!{/ < /d}' $FOLDER/t >$FOLDER/a; bx replay $FOLDER/a >$FOLDER/deaf | 1 | | *** departs from the trace: line ***
    tail +2 $FOLDER/t >$FOLDER/a; bx replay $FOLDER/a | 2 | | ...:1: a trace begins when its port...
    echo no trace >$FOLDER/a; bx replay $FOLDER/a | 2 | | ...:1: no line of a trace...
    printf '0 * opened a\n5 < 00112200 a\n' >$FOLDER/a; bx replay $FOLDER/a | 2 | | ...:2: no sound frame...
    bx replay /dev/null | 2 | | ...nothing was traced...
    printf '%065536d\n' 1 >$FOLDER/a; bx replay $FOLDER/a | 2 | | ...:1: longer than any line of a trace...
    printf '0 * opened a\n0 * opened b\n' >$FOLDER/a; bx replay $FOLDER/a | 2 | | ...choose a port by --port, one of: a b...)",
                  {{"UNTIMED", "sed s/,.aimingTime.:[^,}]*//"}});
}

}  // namespace
}  // namespace BX::test
