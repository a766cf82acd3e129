// How a gate that runs is told to begin the next session of a lane: by a datagram, the lane's name, to a socket in its
// spool folder. The answer is empty, or the reason why not.
#pragma once

#include <functional>
#include <string>

namespace BX::range {

class Control {
 public:
  // The reason; empty when it is done.
  using Handler = std::function<std::string(const std::string& lane)>;

  // Throws Failure.
  Control(const std::string& folder, Handler handler);
  ~Control();
  Control(const Control&) = delete;
  Control& operator=(const Control&) = delete;

  // Answers what has come; never waits.
  void poll() const;

 private:
  const std::string folder_;
  const Handler handler_;
  int socket_ = -1;
};

// What the gate answers; throws Failure when there is none that does within five seconds.
std::string askGate(const std::string& folder, const std::string& lane);

}  // namespace BX::range
