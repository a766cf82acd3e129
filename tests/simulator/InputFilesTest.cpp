// The readers of the tool's file formats.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "simulator/Simulator.h"

namespace BX::sim {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::StartsWith;

class InputFiles : public testing::Test {
 protected:
  const std::string& write(const std::string& text) {
    std::ofstream(path) << text;
    return path;
  }
  void TearDown() override { std::filesystem::remove(path); }
  template <typename Read>
  std::string errorOf(Read read, const std::string& text) {
    write(text);
    try {
      read(path);
    } catch (const std::runtime_error& error) {
      EXPECT_THAT(error.what(), StartsWith(path + ":"));
      return std::string(error.what()).substr(path.size());
    }
    return "none";
  }
  std::string path =
      testing::TempDir() + "bx-sim-input-" + testing::UnitTest::GetInstance()->current_test_info()->name();
};

TEST_F(InputFiles, SkipBlankLinesAndComments) {
  EXPECT_THAT(readStreamFile(write("# first\n\nCA6a 01\r\n  \t\n 59")),
              ElementsAre(Bytes{0xCA, 0x6A, 0x01}, Bytes{0x59}));
  EXPECT_THAT(readStreamFile(write("")), ElementsAre());
}

TEST_F(InputFiles, ReadStoredRecordsAndScripts) {
  const auto stored = readStoredFile(write("0 0 CA65\n5\t254  ca 6A\n"));
  ASSERT_EQ(stored.size(), 2U);
  EXPECT_EQ(stored[1].block, 5);
  EXPECT_EQ(stored[1].page, 254);
  EXPECT_EQ(stored[1].payload, (Bytes{0xCA, 0x6A}));

  const auto script = readScriptFile(write("63 00=59 63 00 41\n65 =\n"));
  ASSERT_EQ(script.size(), 2U);
  EXPECT_EQ(script[0].request, (Bytes{0x63, 0x00}));
  EXPECT_EQ(script[0].reply, (Bytes{0x59, 0x63, 0x00, 0x41}));
  EXPECT_THAT(script[1].reply, testing::IsEmpty());
}

TEST_F(InputFiles, NameTheLineAndTheReasonOfWhatTheyRefuse) {
  EXPECT_EQ(errorOf(readStreamFile, "CA\n\nCAF\n"), ":3: odd number of hexadecimal digits");
  EXPECT_EQ(errorOf(readStreamFile, "0x12"), ":1: not a hexadecimal digit: 'x'");
  EXPECT_EQ(errorOf(readStoredFile, "#\n6 0 CA"), ":2: the block is not a number from 0 to 5: '6'");
  EXPECT_EQ(errorOf(readStoredFile, "0 255 CA"), ":1: the page is not a number from 0 to 254: '255'");
  EXPECT_EQ(errorOf(readStoredFile, "0 -1 CA"), ":1: the page is not a number from 0 to 254: '-1'");
  EXPECT_EQ(errorOf(readStoredFile, "0"), ":1: the page is not a number from 0 to 254: ''");
  EXPECT_EQ(errorOf(readStoredFile, "0 1"), ":1: no record after the page");
  EXPECT_EQ(errorOf(readScriptFile, "63"), ":1: no '=' between request and reply");
  EXPECT_EQ(errorOf(readScriptFile, " = 59"), ":1: no request before the '='");
  EXPECT_THROW(readStreamFile(path + "-missing"), std::runtime_error);
  EXPECT_THROW(readStreamFile(testing::TempDir()), std::runtime_error);
}

}  // namespace
}  // namespace BX::sim
