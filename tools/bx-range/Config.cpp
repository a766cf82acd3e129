#include "Config.h"

#include <rapidjson/document.h>

#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string_view>

#include "Topics.h"
#include "bx/BXSerialLink.h"
#include "platform/Utf8.h"
#include "platform/serial/TcpName.h"
#include "tools/bx/Documents.h"
#include "tools/bx/InputFile.h"

namespace BX::range {

namespace {

using rapidjson::Value;

// One object of the file, read member by member: each has a reader, and none is left over.
class Reader {
 public:
  Reader(const std::string& file, std::string place) : file_(file), place_(std::move(place)) {}

  [[noreturn]] void refuse(const std::string& key, const std::string& reason) const {
    throw tool::Failure(tool::wrongUsage, file_ + ": \"" + place_ + key + "\": " + reason);
  }

  using Members = std::map<std::string, std::function<void(const std::string& key, const Value&)>>;
  void read(const Value& object, const Members& members) const {
    if (!object.IsObject()) {
      const std::string name = place_.empty() ? "" : '"' + place_.substr(0, place_.size() - 1) + "\": ";
      throw tool::Failure(tool::wrongUsage, file_ + ": " + name + "is no object");
    }
    std::set<std::string> seen;
    for (const auto& member : object.GetObject()) {
      const std::string key(member.name.GetString(), member.name.GetStringLength());
      const auto reader = members.find(key);
      if (reader == members.end()) refuse(key, "no such key");
      if (!seen.insert(key).second) refuse(key, "is given twice");
      reader->second(key, member.value);
    }
  }

  auto text(std::string& target) const {
    return [this, &target](const std::string& key, const Value& value) {
      if (!value.IsString() || value.GetStringLength() == 0) refuse(key, "is no text, or an empty one");
      target.assign(value.GetString(), value.GetStringLength());
    };
  }
  auto name(std::string& target) const {
    return [this, &target](const std::string& key, const Value& value) {
      text(target)(key, value);
      if (!isName(target)) refuse(key, "a name has 1 to 64 of A-Z a-z 0-9 _ and -");
    };
  }
  // Relative to the folder of the file.
  auto path(std::string& target) const {
    return [this, &target](const std::string& key, const Value& value) {
      text(target)(key, value);
      target = platform::utf8Of(platform::pathOf(file_).parent_path() / platform::pathOf(target));
    };
  }
  template <typename Number>
  auto number(Number& target, int least, int most) const {
    return [this, &target, least, most](const std::string& key, const Value& value) {
      if (!value.IsInt() || value.GetInt() < least || value.GetInt() > most) {
        refuse(key, "is no whole number from " + std::to_string(least) + " to " + std::to_string(most));
      }
      target = value.GetInt();
    };
  }

 private:
  const std::string& file_;
  const std::string place_;  // "broker.", "lanes[1]."
};

std::string firstLineOf(const std::string& path) {
  std::ifstream file = tool::openInput(path);
  std::string line;
  if (!std::getline(file, line) && errno != 0) {
    throw tool::Failure(tool::wrongUsage, path + ": read: " + std::generic_category().message(errno));
  }
  if (line.ends_with('\r')) line.pop_back();
  if (line.empty()) throw tool::Failure(tool::wrongUsage, path + ": read: its first line is to be the password");
  return line;
}

// What is no certificate at all is told by the name of its file. Whether those that are there are whole, the connection
// tells.
void requireCertificates(const std::string& path) {
  std::ifstream file = tool::openInput(path);
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  if (errno != 0) throw tool::Failure(tool::wrongUsage, path + ": read: " + std::generic_category().message(errno));
  if (text.find("CERTIFICATE-----") == std::string::npos) {
    throw tool::Failure(tool::wrongUsage, path + ": read: there is no certificate (PEM) in it");
  }
}

BrokerAddress brokerOf(const std::string& file, const Value& value) {
  constexpr int portWithTls = 8883;
  const Reader reader(file, "broker.");
  BrokerAddress broker;
  std::string passwordFile;
  std::optional<int> port;
  reader.read(value, {{"host", reader.text(broker.host)},
                      {"port", reader.number(port, 1, 65535)},
                      {"user", reader.text(broker.user)},
                      {"password", reader.text(broker.password)},
                      {"passwordFile", reader.path(passwordFile)},
                      {"ca", reader.path(broker.ca)}});
  if (!passwordFile.empty()) {
    if (!broker.password.empty()) reader.refuse("passwordFile", "\"password\" is given as well");
    broker.password = firstLineOf(passwordFile);
  }
  if (!broker.password.empty() && broker.user.empty()) reader.refuse("user", "is missing beside the password");
  if (!broker.ca.empty()) requireCertificates(broker.ca);
  broker.port = port.value_or(broker.ca.empty() ? broker.port : portWithTls);
  return broker;
}

LaneConfig laneOf(const std::string& file, const std::string& place, const Value& value) {
  const Reader reader(file, place);
  LaneConfig lane;
  reader.read(value, {{"name", reader.name(lane.name)},
                      {"port", reader.text(lane.port)},
                      {"device", reader.path(lane.files.device)},
                      {"session", reader.path(lane.files.session)},
                      {"target", reader.path(lane.files.target)},
                      {"targetNumber", reader.number(lane.targetNumber, 0, 254)}});
  if (lane.name.empty()) reader.refuse("name", "is missing");
  if (lane.port.empty()) reader.refuse("port", "is missing");
  try {
    if (link::isTcpName(lane.port)) link::tcpNameIn(lane.port);
  } catch (const link::OpenFailure& failure) {
    reader.refuse("port", failure.what());
  }
  if (lane.targetNumber && !lane.files.target.empty()) reader.refuse("targetNumber", "\"target\" is given as well");
  return lane;
}

std::vector<LaneConfig> lanesOf(const std::string& file, const Reader& root, const Value& value) {
  if (!value.IsArray() || value.Empty()) root.refuse("lanes", "is no list, or an empty one");
  std::vector<LaneConfig> lanes;
  std::set<std::string> names;
  std::set<std::string> ports;
  for (const auto& one : value.GetArray()) {
    const std::string place = "lanes[" + std::to_string(lanes.size()) + "].";
    lanes.push_back(laneOf(file, place, one));
    const Reader reader(file, place);
    if (!names.insert(lanes.back().name).second) reader.refuse("name", "another lane has it");
    if (!ports.insert(lanes.back().port).second) reader.refuse("port", "another lane has it");
  }
  return lanes;
}

const std::vector<std::string>& keysOf(Role role) {
  static const std::map<Role, std::vector<std::string>> keys = {
      {Role::Gate, {"broker", "range", "machine", "spool", "lanes"}},
      {Role::Next, {"spool", "lanes"}},
      {Role::Archive, {"broker", "range"}},
      {Role::Board, {"broker", "range"}}};
  return keys.at(role);
}

}  // namespace

Config readConfig(const std::string& path, Role role) {
  const auto document = tool::readDocument(path);
  const Value& root = document.getDocument();
  const Reader reader(path, "");
  Config config;
  reader.read(root,
              {{"broker", [&](const std::string&, const Value& value) { config.broker = brokerOf(path, value); }},
               {"range", reader.name(config.range)},
               {"machine", reader.name(config.machine)},
               {"spool", reader.path(config.spool)},
               {"keepHours", reader.number(config.keepHours, 0, 24 * 366)},
               {"lanes", [&](const std::string&, const Value& value) { config.lanes = lanesOf(path, reader, value); }},
               {"names", reader.path(config.names)}});
  for (const auto& key : keysOf(role)) {
    if (!root.HasMember(key.c_str())) reader.refuse(key, "is missing");
  }
  return config;
}

}  // namespace BX::range
