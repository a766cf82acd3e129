// Several devices in one process: what they have each for themselves.
#include "simulator/Lane.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "bx/BXSerialCom.h"

namespace BX::sim {
namespace {

namespace fs = std::filesystem;

TEST(Lane, IsADeviceWithATerminalALinkAndATranscriptOfItsOwn) {
  EXPECT_EQ(laneName("%d/%d%d.txt", 10), "10/1010.txt");
  EXPECT_TRUE(tellsLanesApart("lane%d"));
  EXPECT_FALSE(tellsLanesApart("lane%"));
  const std::string pattern = testing::TempDir() + "lane-test-%d";
  for (const unsigned number : {0U, 7U}) {
    const std::string link = laneName(pattern, number);
    {
      const Lane lane(number, {}, {pattern, pattern + ".txt"});
      EXPECT_EQ(fs::read_symlink(link), lane.name());
      BXSerialCom host;
      ASSERT_TRUE(host.initializePort(link) && host.openPort() && host.sendStartupCommand());
    }
    EXPECT_FALSE(fs::exists(fs::symlink_status(link)));
    EXPECT_GT(fs::file_size(link + ".txt"), 0U);
    fs::remove(link + ".txt");
  }
}

}  // namespace
}  // namespace BX::sim
