// Runs a function on every way out of a scope.
#pragma once

#include <utility>

namespace BX::platform {

template <typename Function>
class AtExit {
 public:
  explicit AtExit(Function function) : function_(std::move(function)) {}
  ~AtExit() { function_(); }
  AtExit(const AtExit&) = delete;
  AtExit& operator=(const AtExit&) = delete;

 private:
  Function function_;
};

}  // namespace BX::platform
