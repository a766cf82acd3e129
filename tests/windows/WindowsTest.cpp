// What bx.exe meets on Windows alone. The dialogues stand in files of their own.
#include <gtest/gtest.h>

#include "tests/road/Dialogue.h"
#include "tests/road/Program.h"

namespace BX::test {
namespace {

TEST(Windows, TakesNamesInUtf8AndTellsWhatTheSystemRefuses) {
  expectDialogues(readFile(BX_SOURCE_DIR "/tests/windows/names.txt"));
}

TEST(Windows, EndsWithOneLineWhenTheDeviceIsKilledInTraining) {
  expectDialogues(readFile(BX_SOURCE_DIR "/tests/windows/killed.txt"));
}

TEST(Windows, CarriesHostsInCAndIsGoneAfterThem) {
  expectDialogues(readFile(BX_SOURCE_DIR "/tests/windows/c.txt"));
}

}  // namespace
}  // namespace BX::test
