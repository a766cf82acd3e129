// Each allocation of the host's thread fails once; afterwards the same device works.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <new>
#include <utility>

#include "faults/Rig.h"
#include "faults/Road.h"
#include "tests/lifetimes/Lifetimes.h"

static thread_local std::size_t countdown = 0;  // the allocation of this thread that fails; 0: none

void* operator new(std::size_t size) {
  void* const memory = countdown > 0 && --countdown == 0 ? nullptr : std::malloc(size);
  return memory != nullptr ? memory : throw std::bad_alloc();
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace BX::test {
namespace {

constexpr unsigned hangLimit = 30;  // seconds

std::array<char, 100> current{};

// A run that hangs, or ends the process, is named.
void onDeath(int signal) {
  ::signal(signal, SIG_DFL);
  if (::write(STDERR_FILENO, current.data(), std::strlen(current.data())) >= 0) ::raise(signal);
}

// Runs `deed` with its first allocation failing, then the one `stride` later, until it needs no more, and `check`
// before and after each. How many have failed.
template <typename Deed, typename Check>
std::size_t sweep(const std::string& name, std::size_t stride, const Deed& deed, const Check& check) {
  for (const int signal : {SIGALRM, SIGABRT, SIGSEGV}) ::signal(signal, onDeath);
  std::size_t failed = 0;
  check();
  for (std::size_t n = 1; !testing::Test::HasFailure(); n += stride * (11 - scaled(10))) {
    std::snprintf(current.data(), current.size(), "allocation %zu of %s\n", n, name.c_str());
    ::alarm(hangLimit);
    countdown = n;
    try {
      deed();
    } catch (const std::exception&) {  // std::bad_alloc, or a device that was dropped
    }
    const bool over = std::exchange(countdown, 0) > 0;
    const testing::ScopedTrace trace(__FILE__, __LINE__, current.data());
    check();
    ::alarm(0);
    if (over) break;
    ++failed;
  }
  return failed;
}

TEST(Allocations, OfTheRoadFailOnceAndTheSameDeviceWorksAfterwards) {
  constexpr auto port = "allocations";
  faults::useTimeouts();
  const LoopbackDevice device(faults::roadOptions(), port);
  BXDeviceManager manager;
  ASSERT_EQ(faults::goTheRoad(manager, port, true), "");
  const auto descriptors = [] {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator());
  };
  const auto before = descriptors();
  std::size_t failed = 0;
  for (const auto& step : faults::road()) {
    failed += sweep(
        step.name, step.isShort ? 1 : 5, [&] { step.run(manager, port); },
        [&] {
          EXPECT_EQ(faults::goTheRoad(manager, port, false), "");
          if (&step == &faults::road().front()) manager.removeDevice(port);
        });
  }
  manager.disconnectDevices();
  EXPECT_EQ(descriptors(), before);
  EXPECT_GE(failed, scaled(1000));
}

TEST(Allocations, OfOpeningATerminalLeaveItToOthers) {
  auto line = std::make_unique<sim::PtyLine>();
  const std::string port = line->name();
  const sim::Simulator device(faults::roadOptions(), std::move(line));
  BXSerialCom com;
  com.initializePort(port);
  const auto use = [&] {
    if (com.openPort()) com.poll();
  };
  EXPECT_GE(sweep("opening a terminal", 1, use,
                  [&] {
                    com.closePort();
                    const int handle = ::open(port.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
                    EXPECT_GE(handle, 0);
                    EXPECT_EQ(::flock(handle, LOCK_EX | LOCK_NB), 0);
                    ::close(handle);
                  }),
            scaled(10));
}

}  // namespace
}  // namespace BX::test
