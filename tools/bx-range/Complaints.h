// Tells troubles that may come a thousand times a second: once a minute.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>

#include "tools/bx/Console.h"

namespace BX::range {

class Complaints {
 public:
  explicit Complaints(tool::Console& console) : console_(console) {}

  void tell(const std::string& text) {
    const auto now = std::chrono::steady_clock::now();
    if (told_ && now < *told_ + std::chrono::minutes(1)) {
      ++untold_;
      return;
    }
    console_.warning(untold_ == 0 ? text : text + " (and " + std::to_string(untold_) + " more of the kind before)");
    told_ = now;
    untold_ = 0;
  }

 private:
  tool::Console& console_;
  std::optional<std::chrono::steady_clock::time_point> told_;
  std::size_t untold_ = 0;
};

}  // namespace BX::range
