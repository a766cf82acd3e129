// What goes wrong ends with one line that tells it, and with the exit status for it.
#include <gtest/gtest.h>

#include "Dialogue.h"

namespace BX::test {
namespace {

TEST(Failure, OfPortsFilesAndUsageIsToldBeforeADeviceIsAsked) {
  expectDialogues(R"(
    bx info /dev/none | 1 | | bx: /dev/none: open: no such port
    bx info /dev/null | 1 | | bx: /dev/null: open: not a serial port
    bx info $'/dev/\x1B[31m\x7F\xC2\x9B\xE2\x80\xAE\x9B' | 1 | | bx: /dev/\u001B[31m\u007F\u009B\u202E...: open: no such port
    printf '{\n  "Mounting": ]\n}' >$FOLDER/broken | 0 | |
    bx settings /dev/none --force --device $FOLDER/broken | 2 | | bx: $FOLDER/broken: line 2, column 15: not JSON...
    echo '{"WakeupAngle": 256}' >$FOLDER/wide | 0 | |
    bx train /dev/none --session $FOLDER/wide | 2 | | bx: ..."WakeupAngle" 256 does not fit the wire (0 to 255)...
    echo '{"TargetType": "ring", "RingTargetNumber": 1}' >$FOLDER/odd | 0 | |
    bx target /dev/none $FOLDER/odd | 2 | | bx: ..."TargetType" "ring" is neither...
    bx target /dev/none examples/ring-300m-rifle.json --type SILHOUETTE | 2 | | bx: ...: "TargetType" is "RING", and --type is "SILHOUETTE"
    bx settings /dev/none --device examples/session-settings.json | 2 | | bx: ..."TriggerSensitivity", "CockingDelay" belong to session settings
    bx settings /dev/none --session /dev/zero | 2 | | bx: /dev/zero: read: larger than 16 MiB
    bx settings /dev/none --device <(yes) | 2 | | bx: ...: read: larger than 16 MiB
    bx target /dev/none $FOLDER/x | 2 | | bx: $FOLDER/x: read: No such file or directory
    bx target /dev/none $FOLDER | 2 | | bx: $FOLDER: read: Is a directory
    bx train --live 127.0.0.1:65536 /dev/none | 2 | | bx: 127.0.0.1:65536: no ADDRESS:PORT, such as 127.0.0.1:8080 or [::1]:8080
    bx train /dev/none --live 192.0.2.1:0 | 2 | | bx: 192.0.2.1:0: listen: Cannot assign requested address
    bx download /dev/none --output $FOLDER/no/x | 2 | | bx: $FOLDER/no/x: open: No such file or directory
    bx --trace $FOLDER/no/x info /dev/none | 2 | | bx: $FOLDER/no/x: open: No such file or directory)");
}

TEST(Failure, OfUsageTellsWhatWasMeant) {
  expectDialogues(R"(
    bx | 2 | | bx: a command is missing (bx --help tells more)
    bx trian /dev/none --shots 3 | 2 | | bx: no command trian: did you mean train? (bx --help tells more)
    bx trian --help; bx help trian | 2 | | bx: ...did you mean train?...\nbx: ...did you mean train?...
    bx dance | 2 | | bx: no command dance (bx --help tells more)
    bx train --shto 3 | 2 | | bx: train has no option --shto: did you mean --shots? (bx train --help tells more)
    bx --shots 3 train /dev/none | 2 | | bx: --shots belongs behind the command...
    bx info /dev/none 5 | 2 | | bx: 5: one word too many...
    bx info | 2 | | bx: PORT is required...
    bx target /dev/none | 2 | | bx: FILE or --get NUMBER is required...
    bx target /dev/none FILE --get 1 | 2 | | bx: FILE excludes --get...
    bx target /dev/none FILE --type CIRCLE | 2 | | bx: --type: CIRCLE not in...
    bx train /dev/none --target x --target-number 3 | 2 | | bx: --target excludes --target-number...
    bx train /dev/none --shots 3 --shots 4 | 2 | | bx: --shots: given more than once...
    bx train /dev/none --shots | 2 | | bx: --shots: a value is missing...
    bx train /dev/none --device= --shots 3 | 2 | | bx: --device= has no value...
    bx train /dev/none --device --shots 3 | 2 | | bx: --device: --shots is an option...
    bx info ''; bx train /dev/none --output ''; bx replay '' | 2 | | ...: a name...\n...: a name...\n...: a name...
    bx train /dev/none --target-number 255 | 2 | | bx: --target-number: "255" is no whole number from 0 to 254...
    for n in 0 nan inf 1e400 0x10 +5 -1 ' 5' ''; do bx train /dev/none --seconds "$n"; done 2>$FOLDER/errors | 2 | |
    grep -vc ' is no number from 0.001 to 604800 (bx train --help tells more)' $FOLDER/errors | 1 | 0 |
    bx-sim --rate nan | 2 | | bx-sim: --rate: "nan" is no number from 0.001 to 1000000...
    bx-sim --sede 3 | 2 | | bx-sim: no option --sede: did you mean --seed? (bx-sim --help tells more)
    bx-sim --rate 2000
    bx train $PORT --shots 010 \p grep -c ShotNumber | 0 | 10 | ***)");
}

TEST(Failure, ARefusalIsToldByItsStep) {
  expectDialogues(R"(
    bx-sim
    bx info $PORT --quiet --trace /dev/full | 1 | {...} | bx: /dev/full: write: No space left on device, after 0 lines: the rest is not traced
    echo kept >$FOLDER/kept; bx info $PORT --trace $FOLDER/kept; cat $FOLDER/kept | 0 | kept | bx: $FOLDER/kept: open: exists and is not empty...
    bx info /dev/none --overwrite --trace $FOLDER/kept; cat $FOLDER/kept | 0 | kept | bx: /dev/none: ...
    bx info /dev/none --trace $FOLDER/none; ls $FOLDER/none | 2 | | bx: /dev/none: ...\nls: ...
    bx info $PORT --quiet --overwrite --trace $FOLDER/kept >&2; head -1 $FOLDER/kept | 0 | ... * opened $PORT | {...}
    (flock 9; bx info $PORT --quiet --overwrite --trace $FOLDER/kept) 9<$FOLDER/kept | 1 | {...} | bx: $FOLDER/kept: open: in use by another program, after 0 lines: the rest is not traced
    stty -F $PORT sane ixoff; stty -gF $PORT >$FOLDER/found; bx info $PORT --quiet; stty -gF $PORT \p diff $FOLDER/found - | 0 | {...} |
    bx info $PORT --baud 12345; stty -gF $PORT \p diff $FOLDER/found - | 0 | | bx: $PORT: open: the port does not take 12345 baud
    export -f bx; SHELL=/bin/bash script -qec 'stty -g >$FOLDER/own; bx info /dev/tty; bx info `tty`; stty -g \p diff $FOLDER/own -' /dev/null | 0 | bx: /dev/tty: ...is this program's own terminal...\nbx: /dev/pts/...is this program's own terminal... |
    bx train $PORT --quiet \p { read; bx info $PORT; } | 1 | | bx: $PORT: in use by another program: bx (...)
    bx target $PORT --get 77 | 1 | | bx: $PORT: download target: ring target 77: ...
    bx-sim --latency 60000
    bx info $PORT | 1 | | bx: $PORT: connect: no device answers
    bx-sim --script <(echo '6302 =')
    bx info $PORT | 1 | | bx: $PORT: connect: refused by the device...
    bx-sim --script <(echo '6509 =')
    bx info $PORT | 1 | | bx: $PORT: connect: refused by the device...
    bx-sim --script <(echo '6402 =')
    bx settings $PORT --quiet --device examples/device-settings.json | 1 | | bx: $PORT: write settings: ...
    bx-sim --script <(echo '6C =')
    bx target $PORT examples/ring-300m-rifle.json | 1 | | bx: $PORT: upload target: ...
    bx-sim --script <(echo '6F03 =')
    bx train $PORT --quiet --seconds 60 | 1 | | bx: $PORT: start training: ...
    bx-sim --script <(echo '6320 =')
    bx download $PORT | 1 | | bx: $PORT: download: ...
    bx-sim --script <(echo '6205FF =')
    bx clear $PORT | 1 | | bx: $PORT: clear: block 5: ...
    bx-sim --stored <(printf '0 0 CA6A%024d09FF03%026d\n' 0 0)
    bx download $PORT | 1 | | bx: $PORT: download: ring target 9: refused by the device...)");
}

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
    bx-sim --link $FOLDER/full --transcript /dev/full & until bx info -q $FOLDER/full 2>&9; do :; done 9>$FOLDER/errors; kill %1; wait %1 | 1 | ***} | bx-sim: /dev/full: write: No space left on device; lines kept: 0)");
}

}  // namespace
}  // namespace BX::test
