// What the system tells of a serial port beside its adapter: who has it open, and who may open it.
#pragma once

#include <map>
#include <optional>
#include <string>

namespace BX::tool {

// A program that has a port open.
struct Holder {
  std::string program;
  int process = 0;  // 0: nobody
};

std::string describe(const Holder& holder);  // "bx (4711)" or "nobody"

// Who has ports open, told from the descriptors that can be seen: nothing is opened, and no device disturbed.
class Holders {
 public:
  Holders();  // looks at all processes once, on systems that show what they have open
  // Nothing: not known, because some processes cannot be looked into and none of the others has the port.
  std::optional<Holder> of(const std::string& port) const;

 private:
  std::map<std::string, Holder> holders_;  // by the device's path
  bool sawAll_ = true;
};

// What decides whether a person can come to open a port.
struct Access {
  std::string user;       // empty: unknown
  std::string group;      // that the port belongs to; empty: unknown
  unsigned groupId = 0;   // 0 is root's: nobody should join it
  bool groupMay = false;  // the group may read and write
  bool isIn = false;      // the group's right is this process's
  bool joined = false;    // the user is in the group, also when this process began before that
};

// Nothing where groups have no say.
std::optional<Access> accessTo(const std::string& port);

// ": join the group dialout (...)", or what else would help; empty when nothing of the kind does.
std::string accessAdvice(const Access& access);
std::string accessAdvice(const std::string& port);

}  // namespace BX::tool
