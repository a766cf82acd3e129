// What the fuzzers share. A fuzzer is a function of its input alone: no clock, no random numbers, no state from one
// input to the next.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <span>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace BX::fuzz {

// An input that is used up from its beginning; what it lacks reads as zero.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : left_(data, size) {}

  bool empty() const { return left_.empty(); }
  std::uint8_t byte() {
    const auto one = take(1);
    return one.empty() ? std::uint8_t{0} : one[0];
  }
  std::uint16_t twoBytes() {
    const unsigned high = byte();
    return static_cast<std::uint16_t>(high << 8U | byte());
  }
  // As many as are left when it is fewer.
  std::span<const std::uint8_t> take(std::size_t count) {
    const auto taken = left_.first(std::min(count, left_.size()));
    left_ = left_.subspan(taken.size());
    return taken;
  }
  // As many as the next byte says.
  std::span<const std::uint8_t> block() { return take(byte()); }
  std::span<const std::uint8_t> rest() { return take(left_.size()); }

 private:
  std::span<const std::uint8_t> left_;
};

// A rule that holds for every input.
inline void require(bool holds, const char* rule) {
  if (holds) return;
  std::fprintf(stderr, "broken rule: %s\n", rule);
  std::abort();
}

// The library's own lines on the console would only take time.
inline void silenceConsole() {
  std::cout.rdbuf(nullptr);
  std::cerr.rdbuf(nullptr);
}

}  // namespace BX::fuzz
