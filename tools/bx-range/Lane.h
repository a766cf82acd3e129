// One lane of a gate: its device, connected and trained on a thread of its own whenever it answers, and the session
// file that is written meanwhile. The lane waits for nobody but its device and its disk.
#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "Config.h"
#include "LiveScore.h"
#include "Spool.h"
#include "Topics.h"
#include "platform/Mutex.h"
#include "tools/bx/TrainingDevice.h"

namespace BX::range {

// A session of this run, as the network's thread needs to know it.
struct SessionNews {
  SessionNumber number = 0;
  std::string name;  // of its file
  std::size_t lines = 0;
  bool isEnded = false;
};

class Lane {
 public:
  // Reads the lane's documents; throws Failure. Nothing else is done until it is started.
  Lane(tool::Tool& tool, const Spool& spool, LaneConfig config);
  // Ends the session, and waits until the device rests.
  ~Lane();
  Lane(const Lane&) = delete;
  Lane& operator=(const Lane&) = delete;

  void start();
  // Any thread may call these.
  const std::string& name() const { return config_.name; }
  bool isOver() const { return isOver_; }
  // Has the session ended and the next one begun, soon. False when the lane does not train.
  bool beginNext();
  // What has changed since it was asked last: sessions in their order, and by topic what is to be retained.
  struct News {
    std::vector<SessionNews> sessions;
    std::map<std::string, std::string> retained;
  };
  News takeNews();

  struct Sums {
    std::size_t sessions = 0;
    std::size_t records = 0;
    std::size_t shots = 0;
  };
  Sums sums() const;

 private:
  struct Session;

  void run();
  bool connect();
  void trainSessions();
  bool trainSession();
  std::unique_ptr<Session> beginSession();
  void take(Session& session, std::vector<tool::Json> records);
  bool isEnding() const;
  void pause(int seconds) const;
  void awaitDisk(const std::string& reason);
  void setStatus(const char* state, SessionNumber session, const std::string& reason = {});
  void retain(const char* what, const std::string& text);
  void tell(const Session& session, bool isEnded);
  void tellTrouble(const std::string& text);

  tool::Tool& tool_;
  const Spool& spool_;
  const LaneConfig config_;
  tool::TrainingDevice device_;  // of the lane's thread, as what follows
  const char* awayState_;        // while no device answers
  std::string status_;           // told last, without its time
  std::string trouble_;          // told last
  std::string diskTrouble_;
  std::atomic<bool> isOver_ = true;
  std::atomic<bool> isEnding_ = false;
  std::atomic<bool> isTraining_ = false;
  std::atomic<bool> wantsNext_ = false;
  mutable platform::Mutex mutex_;
  News news_ GUARDED_BY(mutex_);
  Sums sums_ GUARDED_BY(mutex_);
  std::thread thread_;
};

}  // namespace BX::range
