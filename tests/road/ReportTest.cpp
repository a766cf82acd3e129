// What a session was worth, from its file to figures and a picture.
#include <gtest/gtest.h>

#include "Dialogue.h"

namespace BX::test {
namespace {

// Lines without the keys of a record, with numbers that no double holds, of no kind, and cut; a name full of markup.
TEST(Report, ShowsWhatIsMissingAsSuchAndSpoilsNothingElse) {
  expectDialogues(R"(
    bx report tests/road/odd-session.jsonl --output $FOLDER/o.json | 0 | | bx: warning: ...: line 11: not JSON; 1 line left out\n6 shots, 10, with tenths 10.3, 0 inner tens; 4 not scored in $FOLDER/o.json
    cmp $FOLDER/o.json tests/road/odd-session.figures.json | 0 | |
    bx report tests/road/odd-session.jsonl --output $FOLDER/o.svg --quiet; grep -E 'title\p"hit"\p"black' $FOLDER/o.svg | 0 | <title>&lt;i&gt;&quot;&amp;&#39;\u0007&lt;/i&gt;</title>\n<circle class="black" r="100" ...\n<circle class="hit" cx="15" cy="-8" r="2.8" ...\n<circle class="hit" cx="1" cy="-0.5" r="2.8" fill="none" ...\n<circle class="hit" cx="-252.801" cy="0" r="2.8" ... |
    bx report tests/road/odd-session.jsonl --output $FOLDER/o.json --overwrite --quiet --score centre --target examples/ring-300m-rifle.json; cat $FOLDER/o.json | 0 | {"rule":"centre","face":...,"diameter":1000.0}],"innerTen":50.0,"black":600.0},"shots":[{...,"scored":false},...{"number":6,"x":-252.801,"y":0.0,"value":5,"tenths":5.9,"inner":false,"scored":true}],"total":5,... | ...)");
}

TEST(Report, TakesOneOfSeveralTargetsAndShowsThePixelsOfASilhouette) {
  expectDialogues(R"(
    bx report tests/road/two-targets.jsonl --output $FOLDER/f.json | 0 | | bx: warning: ... "600yd MR-1" (4), "torso" (0); ...\n2 shots, 10, with tenths 10.0, 0 inner tens; 1 not scored in $FOLDER/f.json
    grep -oE '"number[^}]*' $FOLDER/f.json | 0 | "number":1,"x":0.0,"y":-156.312,"value":10,"tenths":10.0,"inner":false,"scored":true\n"number":3,"x":0.0,"y":0.0,"value":null,... |
    bx report tests/road/two-targets.jsonl --target-number 0 --output $FOLDER/s.json | 0 | | 3 shots; 3 not scored in $FOLDER/s.json
    grep -oE '"class":.\p"group.*' $FOLDER/s.json | 0 | "class":2\n"class":0\n"group":{"centreX":9.995,"centreY":-5.005,"extremeSpread":22.347,"meanRadius":11.174,"deviationX":14.135,"deviationY":7.064}} |
    bx report tests/road/two-targets.jsonl --target-number 0 --output $FOLDER/s.svg --quiet; grep pixel $FOLDER/s.svg | 0 | ..."M10 0H20V10H10Z"...\n..."M0 0H10V10H0Z"... |
    bx report tests/road/two-targets.jsonl --target-number 2 --output $FOLDER/n.svg; ls $FOLDER/n.svg | 2 | | bx: ...: has no target of the number 2, but "600yd...***)");
}

TEST(Report, RefusesWhatIsNoSessionAndReplacesNothingUnasked) {
  expectDialogues(R"(
    echo full >$FOLDER/full.json; cp tests/road/two-targets.jsonl $FOLDER/session.json | 0 | |
    bx report tests/road/two-targets.jsonl --output $FOLDER/full.json | 2 | | bx: $FOLDER/full.json: open: exists and is not empty (--overwrite replaces it)
    bx report $FOLDER/session.json --output $FOLDER/session.json --overwrite | 2 | | bx: $FOLDER/session.json: is the session itself
    bx report examples/session-settings.json --output $FOLDER/x.svg | 2 | | bx: examples/session-settings.json: no session file: its first line is not the header of one
    bx report /dev/null --output $FOLDER/x.svg | 2 | | bx: /dev/null: no session file: it is empty
    bx report /dev/zero --output $FOLDER/x.svg | 2 | | bx: /dev/zero: line 1: longer than 16 MiB
    bx report $FOLDER --output $FOLDER/x.svg | 2 | | bx: $FOLDER: read: Is a directory
    bx report tests/road/two-targets.jsonl --output $FOLDER/x.txt | 2 | | bx: $FOLDER/x.txt: the name of a report ends in one of ...
    ls $FOLDER | 0 | full.json\nsession.json |)");
}

}  // namespace
}  // namespace BX::test
