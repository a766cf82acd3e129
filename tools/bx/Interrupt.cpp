#include "Interrupt.h"

#include <csignal>

#include <atomic>

namespace BX::tool {

namespace {
std::atomic<bool> raised{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler may only touch lock-free atomics");
}  // namespace

void catchInterrupts() {
  struct sigaction action = {};
  action.sa_handler = [](int) { raised = true; };
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
}

bool interrupted() { return raised; }

}  // namespace BX::tool
