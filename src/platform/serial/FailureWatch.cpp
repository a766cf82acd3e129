#include "platform/serial/FailureWatch.h"

#include <utility>

namespace BX::link {

namespace {

// A plain pointer: a thread's object with a destructor would keep the library from being unloaded.
thread_local FailureWatch* ownWatch = nullptr;

}  // namespace

FailureWatch::FailureWatch() : outer_(std::exchange(ownWatch, this)) {}
FailureWatch::~FailureWatch() { ownWatch = outer_; }

void noteFailure(const Failure& failure) {
  if (ownWatch == nullptr) return;
  if (ownWatch->first_.kind == FailureKind::None) ownWatch->first_ = failure;
  ownWatch->last_ = failure;
}

}  // namespace BX::link
