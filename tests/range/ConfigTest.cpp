#include "tools/bx-range/Config.h"

#include <gmock/gmock.h>

#include <fstream>

#include "tests/road/Program.h"
#include "tests/support/Table.h"

namespace BX::range {
namespace {

using test::Folder;

constexpr auto whole = R"({"broker": {"user": "gate-a", "passwordFile": "secret", "ca": "/ca.crt"},
  "range": "hall", "machine": "a", "spool": "spool", "names": "names.json",
  "lanes": [{"name": "1", "port": "/dev/ttyUSB0", "device": "d.json", "target": "/t.json"},
            {"name": "2", "port": "tcp://line:4001", "targetNumber": 2}]})";

std::string written(const Folder& folder, const std::string& text) {
  const std::string path = folder.path("range.json");
  std::ofstream(path) << text;
  return path;
}

TEST(Config, TakesPathsFromItsFolder) {
  const Folder folder;
  std::ofstream(folder.path("secret")) << "word\r\nanother\n";
  const Config config = readConfig(written(folder, whole), Role::Gate);
  EXPECT_EQ(config.broker.password, "word");
  EXPECT_EQ(config.broker.port, 8883);
  EXPECT_EQ(config.broker.ca, "/ca.crt");
  EXPECT_EQ(config.spool, folder.path("spool"));
  EXPECT_EQ(config.names, folder.path("names.json"));
  EXPECT_EQ(config.keepHours, 72);
  ASSERT_EQ(config.lanes.size(), 2U);
  EXPECT_EQ(config.lanes[0].files.device, folder.path("d.json"));
  EXPECT_EQ(config.lanes[0].files.target, "/t.json");
  EXPECT_EQ(config.lanes[1].port, "tcp://line:4001");
  EXPECT_EQ(config.lanes[1].targetNumber, 2);
}

TEST(Config, IsRefusedByKeyAndReason) {
  const Folder folder;
  for (const auto& row : test::rowsOf(test::textIn(BX_SOURCE_DIR "/tests/range/refused.txt"))) {
    SCOPED_TRACE(row[0]);
    ASSERT_EQ(row.size(), 2U);
    const std::string path = written(folder, row[0]);
    try {
      readConfig(path, Role::Gate);
      ADD_FAILURE() << "not refused";
    } catch (const tool::Failure& failure) {
      EXPECT_EQ(failure.what(), path + ": " + row[1]);
    }
  }
}

}  // namespace
}  // namespace BX::range
