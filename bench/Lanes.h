// Many simulated devices in a process of their own: bx-sim --lanes.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace BX::bench {

class Lanes {
 public:
  // `arguments` go to bx-sim, beside --lanes.
  Lanes(const std::string& program, std::size_t count, const std::vector<std::string>& arguments);
  ~Lanes();
  Lanes(const Lanes&) = delete;
  Lanes& operator=(const Lanes&) = delete;
  const std::vector<std::string>& ports() const { return ports_; }

 private:
  pid_t process_ = 0;
  std::vector<std::string> ports_;
};

}  // namespace BX::bench
