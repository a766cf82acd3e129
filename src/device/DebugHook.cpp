#include "bx/DebugHook.h"

#include "platform/DebugLog.h"

namespace BX {

namespace {

void emptyDebugFunction(const char*) {}

}  // namespace

void (*debugFunction)(const char*) = emptyDebugFunction;

}  // namespace BX

extern "C" void SetDebugFunction(void (*)(const char*)) { BX::debugFunction = BX::emptyDebugFunction; }
