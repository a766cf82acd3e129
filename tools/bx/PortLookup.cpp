#include "PortLookup.h"

namespace BX::tool {

std::string describe(const Holder& holder) {
  return holder.process == 0 ? "nobody" : holder.program + " (" + std::to_string(holder.process) + ")";
}

std::string accessAdvice(const Access& access) {
  if (!access.groupMay || access.isIn || access.group.empty() || access.groupId == 0) return {};
  if (access.joined) return ": log in again, for the group " + access.group + " to be in force";
  const std::string user = access.user.empty() ? "USER" : access.user;
  return ": join the group " + access.group + " (sudo adduser " + user + ' ' + access.group + ", then log in again)";
}

std::string accessAdvice(const std::string& port) {
  const auto access = accessTo(port);
  return access ? accessAdvice(*access) : "";
}

}  // namespace BX::tool
