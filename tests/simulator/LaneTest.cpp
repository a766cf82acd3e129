// Several devices in one process: what they have each for themselves.
#include "simulator/Lane.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "bx/BXSerialCom.h"

namespace BX::sim {
namespace {

TEST(LaneName, HasTheNumberInEveryPlace) {
  EXPECT_EQ(laneName("/tmp/lane%d", 31), "/tmp/lane31");
  EXPECT_EQ(laneName("%d/%d%d.txt", 10), "10/1010.txt");
  EXPECT_EQ(laneName("/tmp/lane", 3), "/tmp/lane");
  EXPECT_TRUE(tellsLanesApart("lane%d"));
  EXPECT_FALSE(tellsLanesApart("lane%"));
}

TEST(Lane, IsADeviceWithATerminalALinkAndATranscriptOfItsOwn) {
  const std::string folder = testing::TempDir();
  const Lane::Files files{folder + "lane-test-%d", folder + "lane-test-%d.txt"};
  for (const unsigned number : {0U, 7U}) {
    const std::string link = laneName(files.link, number);
    {
      const Lane lane(number, {}, files);
      EXPECT_EQ(std::filesystem::read_symlink(link), lane.name());
      BXSerialCom host;
      ASSERT_TRUE(host.initializePort(link) && host.openPort() && host.sendStartupCommand());
    }
    EXPECT_FALSE(std::filesystem::exists(std::filesystem::symlink_status(link)));
    const std::string transcript = laneName(files.transcript, number);
    EXPECT_GT(std::filesystem::file_size(transcript), 0U);
    std::filesystem::remove(transcript);
  }
}

}  // namespace
}  // namespace BX::sim
