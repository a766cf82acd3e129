// The folder where a gate keeps its session files until the archive has them, and for a time afterwards:
//
//   LANE_START_NUMBER.jsonl   the archive does not have all of it yet
//   NAME.damaged              what was named like a session, but cannot be sent: for people
//   done/                     those that it has
//   owner                     RANGE/MACHINE, to which the sessions belong
//   lock                      held by the gate that uses the folder
//   control                   the socket by which that gate is told what to do (Control.h)
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Sender.h"

namespace BX::range {

// "LANE_20261122T081500Z_NUMBER.jsonl"; `start` is ISO 8601.
std::string sessionFileName(const std::string& lane, const std::string& start, SessionNumber number);

struct SpooledSession {
  std::string lane;
  std::string name;  // of the file
  SessionNumber number = 0;
  std::size_t lines = 0;
};

// Any thread may call the members, but those that take a session one session's callers one at a time.
class Spool {
 public:
  // Makes the folder, and takes it for this process. Throws Failure, or platform::OutputError: another gate has it.
  explicit Spool(std::string folder);
  ~Spool();
  Spool(const Spool&) = delete;
  Spool& operator=(const Spool&) = delete;

  const std::string& folder() const { return folder_; }
  std::string pathOf(const std::string& name) const { return folder_ + '/' + name; }

  // What earlier runs have left to send, by lane and start, the oldest first. A last line that was cut by a crash is
  // cut off. A file that is damaged otherwise, or has the number of another one, is put aside, and `complain` is told
  // of it. The folder is `owner`'s from then on. To be called before the first session of this run. Throws
  // platform::OutputError, also when sessions of another owner wait.
  std::vector<SpooledSession> recover(const std::string& owner,
                                      const std::function<void(const std::string&)>& complain) const;
  // Somebody has taken the session's file from a folder that is otherwise there.
  bool hasLost(const std::string& name) const;
  // The archive has all of it.
  void finish(const std::string& name) const;
  // Under a name that is no session's. Throws platform::OutputError, which tells the reason.
  [[noreturn]] void putAside(const std::string& name, const std::string& reason) const;
  // Back to those that are not archived; nothing when it is not kept any more. Throws platform::OutputError, also when
  // it had to be put aside.
  std::optional<SpooledSession> recall(const std::string& lane, SessionNumber number) const;
  // Deletes what was finished and is older.
  void prune(std::chrono::hours age) const;

 private:
  void claim(const std::string& owner, bool isFree) const;
  std::string donePath(const std::string& name) const { return folder_ + "/done/" + name; }

  const std::string folder_;
  int lock_ = -1;
};

}  // namespace BX::range
