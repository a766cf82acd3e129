// Ports over TCP: what a serial port does, through a server of the system's own, and how they end.
#include <gtest/gtest.h>

#include "Dialogue.h"
#include "tests/support/Table.h"

namespace BX::test {
namespace {

// With BX_TERMINAL in its environment tests/windows/bx-sim tells its terminal, as the device of this system does.

TEST(Tcp, CarriesWhatASerialPortDoes) {
  for (const char* rows : {"streamed", "written", "stored"}) {
    expectDialogues(textIn(BX_SOURCE_DIR "/tests/road/" + std::string(rows) + ".txt"),
                    {{"VIA", "env BX_TERMINAL=yes tests/road/over-tcp"}});
  }
}

TEST(Tcp, TellsInOneLineWhyALineCannotBeHadOrIsLost) {
  expectDialogues(textIn(BX_SOURCE_DIR "/tests/road/tcp.txt"), {{"VIA", "env BX_TERMINAL=yes"}});
}

}  // namespace
}  // namespace BX::test
