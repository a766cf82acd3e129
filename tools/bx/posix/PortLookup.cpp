#include "tools/bx/PortLookup.h"

#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <vector>

namespace BX::tool {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t entrySize = 16'384;  // of the user and group databases, members included

std::string programOf(const fs::path& process) {
  std::string name;
  std::getline(std::ifstream(process / "comm"), name);
  return name;
}

bool isInForce(gid_t group) {
  std::vector<gid_t> groups(static_cast<std::size_t>(std::max(0, getgroups(0, nullptr))));
  const int count = getgroups(static_cast<int>(groups.size()), groups.data());
  groups.resize(static_cast<std::size_t>(std::max(0, count)));
  return getegid() == group || std::ranges::count(groups, group) != 0;
}

// The user's groups according to the database.
bool hasJoined(const struct passwd& user, gid_t group) {
  int count = 0;
  getgrouplist(user.pw_name, user.pw_gid, nullptr, &count);
  std::vector<gid_t> groups(static_cast<std::size_t>(std::max(0, count)));
  if (getgrouplist(user.pw_name, user.pw_gid, groups.data(), &count) < 0) return false;
  return std::ranges::count(groups, group) != 0;
}

}  // namespace

Holders::Holders() {
  std::error_code error;
  for (fs::directory_iterator process("/proc", error); process != end(process); process.increment(error)) {
    const std::string number = process->path().filename();
    if (number.find_first_not_of("0123456789") != std::string::npos) continue;
    fs::directory_iterator descriptors(process->path() / "fd", error);
    if (error == std::errc::permission_denied) sawAll_ = false;
    if (error) continue;
    for (; descriptors != fs::directory_iterator(); descriptors.increment(error)) {
      const std::string file = fs::read_symlink(descriptors->path(), error);
      if (!file.starts_with("/dev/") || holders_.contains(file)) continue;
      holders_[file] = {programOf(process->path()), std::stoi(number)};
    }
  }
}

std::optional<Holder> Holders::of(const std::string& port) const {
  std::error_code error;
  const auto found = holders_.find(fs::canonical(port, error));
  if (found != holders_.end()) return found->second;
  return sawAll_ ? std::optional(Holder()) : std::nullopt;
}

std::optional<Access> accessTo(const std::string& port) {
  constexpr mode_t both = S_IRGRP | S_IWGRP;
  struct stat file = {};
  if (stat(port.c_str(), &file) != 0) return std::nullopt;
  Access access;
  access.groupId = file.st_gid;
  access.groupMay = (file.st_mode & both) == both;
  access.isIn = isInForce(file.st_gid);
  std::array<char, entrySize> buffer{};
  struct group group = {};
  struct group* foundGroup = nullptr;
  if (getgrgid_r(file.st_gid, &group, buffer.data(), buffer.size(), &foundGroup) == 0 && foundGroup != nullptr) {
    access.group = foundGroup->gr_name;
  }
  struct passwd user = {};
  struct passwd* foundUser = nullptr;
  if (getpwuid_r(geteuid(), &user, buffer.data(), buffer.size(), &foundUser) == 0 && foundUser != nullptr) {
    access.user = foundUser->pw_name;
    access.joined = hasJoined(*foundUser, file.st_gid);
  }
  return access;
}

}  // namespace BX::tool
