#include "Connection.h"

#include <grp.h>
#include <sys/stat.h>

#include <array>
#include <sstream>
#include <vector>

#include "bx/BXSerialLink.h"
#include "morva/KeyedAccess.h"

namespace BX::tool {

namespace {

constexpr std::string_view inUse = "in use by another program";

// " (join the group GROUP: ...)" for a device file that belongs to a group; else empty.
std::string groupHint(const std::string& port) {
  struct stat file = {};
  if (stat(port.c_str(), &file) != 0) return {};
  std::array<char, 1024> buffer{};
  struct group entry = {};
  struct group* found = nullptr;
  if (getgrgid_r(file.st_gid, &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr) return {};
  const std::string name = found->gr_name;
  return ": join the group " + name + " (sudo adduser USER " + name + ", then log in again)";
}

bool isPermission(const std::string& reason) { return reason.find("ermission denied") != std::string::npos; }

// The first bytes of the request in "... (request 6D 05 00)"; none when the reason names no request.
std::vector<int> refusedRequest(const std::string& reason) {
  constexpr std::string_view mark = "(request ";
  const auto start = reason.find(mark);
  if (start == std::string::npos) return {};
  std::istringstream text(reason.substr(start + mark.size()));
  std::vector<int> bytes;
  for (int byte = 0; text >> std::hex >> byte;) bytes.push_back(byte);
  return bytes;
}

}  // namespace

std::string connectFailure(const std::string& port, bool opened, const std::string& reason) {
  if (opened) return port + ": connect: " + explain(reason);
  if (reason == inUse) return port + ": " + reason;
  return port + ": open: " + reason + (isPermission(reason) ? groupHint(port) : "");
}

std::string explain(const std::string& reason) {
  if (reason.empty()) return "failed";
  const auto request = refusedRequest(reason);
  if (request.size() < 3) return reason;
  const std::string first = std::to_string(request[1]);
  const std::string second = std::to_string(request[2]);
  // Only a silhouette's first request carries its number: its rows are asked for without it.
  constexpr int ringRequest = 0x6D;
  constexpr int silhouetteRequest = 0x67;
  constexpr int pageRequest = 0x62;
  constexpr int wholeBlock = 0xFF;
  if (request[0] == ringRequest) return "ring target " + first + ": " + reason;
  if (request[0] == silhouetteRequest && request[2] == 0) return "silhouette target " + first + ": " + reason;
  if (request[0] == pageRequest && request[2] == wholeBlock) return "block " + first + ": " + reason;
  if (request[0] == pageRequest) return "page " + second + " of block " + first + ": " + reason;
  return reason;
}

Connection::Connection(const Tool& tool, std::string port) : port_(std::move(port)) {
  manager_.addDevice(port_, "bx");
  const Json connected = manager_.connectDevice(port_, tool.global.skipStartup);
  if (!connected.getDocument().HasMember(port_.c_str())) {
    const bool opened = link::statistics(port_).framesSent != 0;
    throw Failure(deviceFailed, connectFailure(port_, opened, link::lastError(port_)));
  }
  settings_ = MORVA::getDocument(connected, port_);
  // A hang-up must not take the device away while it is in use here: isConnected tells of it.
  device().setRemoveDeviceCallback({});
}

Connection::~Connection() { manager_.disconnectDevice(port_); }

void Connection::fail(const std::string& step) const {
  throw Failure(deviceFailed, port_ + ": " + step + ": " + explain(link::lastError(port_)));
}

}  // namespace BX::tool
