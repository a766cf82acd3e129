// The configuration of a range: one JSON file that gates, archive and board can share.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "tools/bx/Tool.h"

namespace BX::range {

struct BrokerAddress {
  std::string host = "localhost";
  int port = 1883;
  std::string user;
  std::string password;
  std::string ca;  // certificates that the broker's has to come from; empty: no TLS
};

struct LaneConfig {
  std::string name;
  std::string port;
  tool::ConfigurationFiles files;
  std::optional<int> targetNumber;
};

enum class Role { Gate, Next, Archive, Board };

// What a role does not need may be missing.
struct Config {
  BrokerAddress broker;
  std::string range;
  std::string machine;
  std::string spool;  // folder
  int keepHours = 72;
  std::vector<LaneConfig> lanes;
  std::string names;  // file of shooters' names; empty: none
};

// Relative paths are taken from the file's folder. Throws Failure, which names file, key and reason: a key that is not
// known, a wrong value, or none where the role needs one.
Config readConfig(const std::string& path, Role role);

}  // namespace BX::range
