#include "tools/bx-range/Config.h"

#include <gmock/gmock.h>

#include <fstream>

#include "tests/road/Program.h"
#include "tests/support/Table.h"

namespace BX::range {
namespace {

using test::Folder;

constexpr auto whole = R"({"broker": {"user": "gate-a", "passwordFile": "secret", "ca": "ca.crt"},
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
  std::ofstream(folder.path("ca.crt")) << "-----BEGIN CERTIFICATE-----\n";
  const Config config = readConfig(written(folder, whole), Role::Gate);
  const LaneConfig& lane = config.lanes.at(0);
  EXPECT_THAT((std::vector{config.broker.password, config.broker.ca, config.spool, config.names, lane.files.device,
                           lane.files.target, config.lanes.at(1).port}),
              ::testing::ElementsAre("word", folder.path("ca.crt"), folder.path("spool"), folder.path("names.json"),
                                     folder.path("d.json"), "/t.json", "tcp://line:4001"));
  EXPECT_THAT((std::vector{config.broker.port, config.keepHours, config.lanes.at(1).targetNumber.value_or(0)}),
              ::testing::ElementsAre(8883, 72, 2));
}

TEST(Config, IsRefusedByKeyAndReason) {
  const Folder folder;
  for (const auto& row : test::rowsOf(test::textIn(BX_SOURCE_DIR "/tests/range/refused.txt"))) {
    SCOPED_TRACE(row[0]);
    const std::string path = written(folder, row[0]);
    try {
      readConfig(path, Role::Gate);
      ADD_FAILURE() << "not refused";
    } catch (const tool::Failure& failure) {
      EXPECT_EQ(failure.what(), row.at(1).starts_with('/') ? folder.path(row[1].substr(1)) : path + ": " + row[1]);
    }
  }
}

}  // namespace
}  // namespace BX::range
