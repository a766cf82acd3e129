// What the pages print, typed and built as it stands there: paths, the startup's wait and the device's pace apart.
#include <gtest/gtest.h>

#include <regex>

#include "Dialogue.h"
#include "Program.h"

namespace BX::test {
namespace {

// `set -v` shows each command as it is read.
TEST(Pages, HoldDialoguesThatRunAsPrinted) {
  for (const char* page : {"README.md", "docs/technician.md", "docs/report.md"}) {
    SCOPED_TRACE(page);
    const std::string printed = Program({"scripts/print-blocks", page, "$ bx"}).await().out;
    const std::string shown = std::regex_replace(printed, std::regex("(^|\n)\\$ |\n$"), "$1");
    expectDialogues(R"(
      bx-sim --rate 1000 --link $FOLDER/lane1
      sed -n '/^\$ /{s///;:more p;/\\$/{n;b more}}' <<<"$PRINTED" \p sed "s:/tmp/:$FOLDER/:g" >$FOLDER/typed; set -v; . $FOLDER/typed 2>&1 | 0 | $ANSWER |)",
                    {{"PRINTED", printed}, {"ANSWER", std::regex_replace(shown, std::regex("/tmp/"), "$$FOLDER/")}});
  }
}

const std::string flags = "-Wall -Wextra -Wpedantic -Werror -I" BX_SOURCE_DIR "/include " BX_LINK_OPTIONS
                          " -L" BX_LIBRARY_DIR " -Wl,-rpath," BX_LIBRARY_DIR " ";
const std::string cppLibraries = "-lBX_DEVICE -lBX_SERIAL_COM -lMORVA_Data_Type_JSON -lboost_thread";

TEST(Pages, HoldHostsThatAreBuiltAndRunAsPrinted) {
  for (const auto& [page, file, libraries] :
       {std::tuple{"docs/c.md", "shots.c", std::string("-lBX_DEVICE_C")}, {"docs/cpp.md", "shots.cpp", cppLibraries}}) {
    expectDialogues(R"(
      scripts/print-blocks $PAGE "// $FILE" \p sed 's/port, 0,/port, 1,/; s/(port, false)/(port, true)/' >$FOLDER/$FILE; [ $(wc -l <$FOLDER/$FILE) -lt 30 ] | 0 | |
      bx-sim --rate 1000 --link $FOLDER/lane1
      typed=$(scripts/print-blocks $PAGE '-o shots' \p sed '/^bx-sim/d; s:/tmp/::'); cd $FOLDER; pkg-config() { echo $FLAGS; }; set -e; eval "$typed" | 0 | *** | shot 1: -40.***\nshot 5: ...
      $FOLDER/shots /dev/none | 1 | | shots: /dev/none: no such port
      bx-sim --rate 500 --fault to-host:stream:300:hangup
      $FOLDER/shots $PORT | 1 | *** | shot 1: ***\nshots: $PORT: ...hung up
      bx-sim --rate 500 --fault to-host:stream:300:restart
      $FOLDER/shots $PORT | 1 | *** | shot 1: ***\nshots: $PORT: ...
      bx-sim --script <(echo '6F03 =')
      $FOLDER/shots $PORT | 1 | | shots: $PORT: ...refused by the device...)",
                    {{"PAGE", page}, {"FILE", file}, {"FLAGS", flags + libraries}});
  }
}

TEST(Pages, HoldASetUpForTheHostInCpp) {
  expectDialogues(
      R"(
    scripts/print-blocks docs/cpp.md 'bool setUp' >$FOLDER/setUp | 0 | |
    scripts/print-blocks docs/cpp.md '// shots.cpp' \p sed "/^int main/e cat $FOLDER/setUp" \p sed 's/manager.startTr/if (!setUp(manager, port, words[2])) return failed();\n&/; s/(port, false)/(port, true)/' >$FOLDER/shots.cpp | 0 | |
    g++ -std=c++20 $FOLDER/shots.cpp -o $FOLDER/shots $FLAGS | 0 | |
    bx-sim --rate 1000
    $FOLDER/shots $PORT "$RING" | 0 | *** | shot 1: -39.***\nshot 5: ...
    bx-sim --fault to-device:ring-upload:1:refuse
    $FOLDER/shots $PORT "$RING" | 1 | | shots: $PORT: refused by the device (request 6C...))",
      {{"FLAGS", flags + cppLibraries}, {"RING", readFile(BX_SOURCE_DIR "/examples/ring-25m-precision-pistol.json")}});
}

}  // namespace
}  // namespace BX::test
