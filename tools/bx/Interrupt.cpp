#include "Interrupt.h"

#include <poll.h>
#include <semaphore.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <thread>
#include <utility>

#include "platform/OutputFile.h"
#include "platform/Utf8.h"

namespace BX::tool {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds secondCounts{1};  // from the first signal on
constexpr int signalStatus = 128;                // of a program that a signal has ended, and the signal

std::atomic<int> first{0};
std::atomic<int> latest{0};
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler may only touch lock-free atomics");
sem_t raised;
platform::Mutex mutex;
std::function<std::string()> lastWords GUARDED_BY(mutex);

void onSignal(int signal) {
  int none = 0;
  first.compare_exchange_strong(none, signal);
  latest = signal;
  sem_post(&raised);
}

void awaitSignal() {
  while (sem_wait(&raised) != 0) {
  }
}

// Not by the console, which may be in the hands of a thread that waits for a stopped terminal.
void say(const std::string& text) {
  pollfd terminal = {STDERR_FILENO, POLLOUT, 0};
  if (text.empty() || ::poll(&terminal, 1, 0) != 1) return;
  const char* const wipe = ::isatty(STDERR_FILENO) == 1 ? "\r\x1b[K" : "";  // the status line
  platform::writeAll(STDERR_FILENO, wipe + platform::printable(text) + '\n');
}

[[noreturn]] void endAtOnce() {
  {
    const platform::MutexLock lock(mutex);
    if (lastWords) say(lastWords());
  }
  std::_Exit(signalStatus + latest);
}

void watch() {
  awaitSignal();
  const auto patience = Clock::now() + secondCounts;
  interruption().request();
  do {
    awaitSignal();
  } while (Clock::now() < patience);
  endAtOnce();
}

}  // namespace

void catchInterrupts() {
  static std::atomic<bool> areCaught{false};
  if (areCaught.exchange(true)) return;
  sem_init(&raised, 0, 0);
  std::thread(watch).detach();
  struct sigaction action = {};
  action.sa_handler = onSignal;
  action.sa_flags = SA_RESTART;  // no call of anybody fails because of it
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction former = {};
    sigaction(signal, nullptr, &former);
    if (signal != SIGHUP || former.sa_handler != SIG_IGN) sigaction(signal, &action, nullptr);
  }
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
