// Measuring side by side: what is compared takes turns within one run, since absolute times drift on shared machines.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <ctime>
#include <functional>
#include <vector>

namespace BX::bench {

using Clock = std::chrono::steady_clock;
using Samples = std::vector<double>;

inline double secondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

// Seconds that `work` takes.
template <typename Work>
double secondsOf(const Work& work) {
  const auto start = Clock::now();
  work();
  return secondsSince(start);
}

// Seconds of processor time that this process has used, all threads together, or one thread, by its clock.
inline double processorSeconds(clockid_t clock = CLOCK_PROCESS_CPUTIME_ID) {
  timespec time{};
  ::clock_gettime(clock, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

template <typename Work>
double processorSecondsOf(const Work& work) {
  const double start = processorSeconds();
  work();
  return processorSeconds() - start;
}

inline double median(Samples samples) {
  std::sort(samples.begin(), samples.end());
  const std::size_t half = samples.size() / 2;
  return samples.size() % 2 == 1 ? samples[half] : (samples[half - 1] + samples[half]) / 2;
}

// Each alternative once a round, after one round that does not count; every other round in reverse order.
inline std::vector<Samples> interleave(int rounds, const std::vector<std::function<double()>>& alternatives) {
  std::vector<Samples> samples(alternatives.size());
  for (int round = -1; round < rounds; ++round) {
    for (std::size_t i = 0; i < alternatives.size(); ++i) {
      const std::size_t turn = round % 2 == 0 ? i : alternatives.size() - 1 - i;
      const double value = alternatives[turn]();
      if (round >= 0) samples[turn].push_back(value);
    }
  }
  return samples;
}

}  // namespace BX::bench
