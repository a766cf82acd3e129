// How a gate that runs is told to begin the next session of a lane: by a datagram, the lane's name, to a socket in its
// spool folder. The answer is empty, or the reason why not.
#pragma once

#include <functional>
#include <string>
#include <thread>

namespace BX::range {

class Control {
 public:
  // The reason; empty when it is done. Called on the control's own thread.
  using Handler = std::function<std::string(const std::string& lane)>;

  // Throws Failure.
  Control(const std::string& folder, Handler handler);
  ~Control();
  Control(const Control&) = delete;
  Control& operator=(const Control&) = delete;

  // Answers what has come and what comes, on a thread of its own: the network's may hang in the look-up of a name.
  void serve();

 private:
  void answer() const;

  const std::string folder_;
  const Handler handler_;
  int socket_ = -1;
  std::jthread thread_;
};

// What the gate answers; throws Failure when there is none that does within five seconds.
std::string askGate(const std::string& folder, const std::string& lane);

}  // namespace BX::range
