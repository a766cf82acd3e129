// The readers of the tool's file formats.
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "simulator/Simulator.h"
#include "tests/support/Hex.h"

namespace BX::sim {
namespace {

using test::bytesOf;
using testing::ElementsAre;
using testing::FieldsAre;

class InputFiles : public testing::Test {
 protected:
  ~InputFiles() override { std::filesystem::remove(path); }
  const std::string& file(const std::string& text) {
    std::ofstream(path) << text;
    return path;
  }
  template <typename Read>
  void expectRefused(Read read, const std::string& text, const std::string& reason) {
    EXPECT_THAT([&] { read(file(text)); }, testing::ThrowsMessage<std::runtime_error>(path + reason));
  }
  std::string path = testing::TempDir() + "bx-sim-input";
};

TEST_F(InputFiles, HoldOnePayloadALine) {
  EXPECT_THAT(readStreamFile(file("# first\n\nCA6a 01\r\n  \t\n 59")), ElementsAre(bytesOf("CA6A01"), bytesOf("59")));
  EXPECT_THAT(readStreamFile(file("")), ElementsAre());
  EXPECT_THAT(readStoredFile(file("0 0 CA65\n5\t254  ca 6A\n")),
              ElementsAre(FieldsAre(0, 0, bytesOf("CA65")), FieldsAre(5, 254, bytesOf("CA6A"))));
  EXPECT_THAT(readScriptFile(file("63 00=59 63 00 41\n65 =\n")),
              ElementsAre(FieldsAre(bytesOf("6300"), bytesOf("59630041")), FieldsAre(bytesOf("65"), Bytes())));
}

TEST_F(InputFiles, NameTheLineAndTheReasonOfWhatTheyRefuse) {
  expectRefused(readStreamFile, "CA\n\nCAF\n", ":3: odd number of hexadecimal digits");
  expectRefused(readStreamFile, "0x12", ":1: not a hexadecimal digit: 'x'");
  expectRefused(readStoredFile, "#\n6 0 CA", ":2: the block is not a number from 0 to 5: '6'");
  expectRefused(readStoredFile, "0 255 CA", ":1: the page is not a number from 0 to 254: '255'");
  expectRefused(readStoredFile, "0 -1 CA", ":1: the page is not a number from 0 to 254: '-1'");
  expectRefused(readStoredFile, "0", ":1: the page is not a number from 0 to 254: ''");
  expectRefused(readStoredFile, "0 1", ":1: no record after the page");
  expectRefused(readScriptFile, "63", ":1: no '=' between request and reply");
  expectRefused(readScriptFile, " = 59", ":1: no request before the '='");
  EXPECT_THROW(readStreamFile(path + "-missing"), std::runtime_error);
  EXPECT_THROW(readStreamFile(testing::TempDir()), std::runtime_error);
}

}  // namespace
}  // namespace BX::sim
