#include <sys/utsname.h>

#include <fstream>
#include <string>
#include <thread>

#include "bench/Measure.h"
#include "bench/Page.h"

namespace BX::bench {

namespace {

std::string processor() {
  std::ifstream file("/proc/cpuinfo");
  for (std::string line; std::getline(file, line);) {
    const auto colon = line.find(": ");
    if (line.starts_with("model name") && colon != std::string::npos) return line.substr(colon + 2);
  }
  return "unknown processor";
}

std::string kernel() {
  utsname name{};
  ::uname(&name);
  const std::string release = name.release;
  return std::string(name.sysname) + " " + release.substr(0, release.find('-')) + " " + name.machine;
}

std::string compiler() {
#ifdef __clang__
  return "clang " __clang_version__;
#else
  return "g++ " __VERSION__;
#endif
}

// The paced lines of the simulation are made of timers; a late one is a cost that no real line has.
double timerLateness() {
  constexpr int times = 200;
  Samples samples;
  for (int i = 0; i < times; ++i) {
    const auto due = Clock::now() + std::chrono::milliseconds(1);
    std::this_thread::sleep_until(due);
    samples.push_back(secondsSince(due));
  }
  return median(samples);
}

}  // namespace

std::string machine() {
  return processor() + ", " + std::to_string(std::thread::hardware_concurrency()) + " cores, " + kernel() + ", " +
         compiler() + ", release flags (`" BX_BENCH_FLAGS "`); a timer fires " + rounded(timerLateness() * 1e6) +
         " µs late";
}

}  // namespace BX::bench
