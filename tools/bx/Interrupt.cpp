#include "Interrupt.h"

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <utility>

#include "System.h"
#include "platform/Descriptors.h"
#include "platform/Utf8.h"

namespace BX::tool {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds secondCounts{1};  // from the first signal on
constexpr int signalStatus = 128;                // of a program that a signal has ended, and the signal

std::atomic<int> first{0};
platform::Mutex mutex;
std::function<std::string()> lastWords GUARDED_BY(mutex);

// Not by the console, which may be in the hands of a thread that waits for a stopped terminal.
void say(const std::string& text) {
  if (text.empty() || !system::takesError()) return;
  const char* const wipe = system::isTerminal(system::standardError) ? "\r\x1b[K" : "";  // the status line
  platform::writeAll(system::standardError, wipe + platform::printable(text) + '\n');
}

[[noreturn]] void endAtOnce(int signal) {
  {
    const platform::MutexLock lock(mutex);
    if (lastWords) say(lastWords());
  }
  std::_Exit(signalStatus + signal);
}

// On the signals' thread.
void onSignal(int signal) {
  static Clock::time_point patience;
  if (first == 0) {
    first = signal;
    patience = Clock::now() + secondCounts;
    interruption().request();
  } else if (Clock::now() >= patience) {
    endAtOnce(signal);
  }
}

}  // namespace

void catchInterrupts() {
  static std::atomic<bool> areCaught{false};
  if (!areCaught.exchange(true)) system::onSignals(onSignal);
}

int interruptSignal() { return first; }

link::Cancellation& interruption() {
  static auto* const cancellation = new link::Cancellation;  // a signal may come as late as it likes
  return *cancellation;
}

Failure interruptedFailure(const std::string& what) {
  return {signalStatus + interruptSignal(), what + ": interrupted"};
}

void setLastWords(std::function<std::string()> words) {
  const platform::MutexLock lock(mutex);
  lastWords = std::move(words);
}

}  // namespace BX::tool
