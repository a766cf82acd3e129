// A pseudo-terminal held by hand: blocking reads and writes at its far end, no thread, no simulator.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace BX::bench {

// Closes the descriptor at the end of its life.
class Descriptor {
 public:
  explicit Descriptor(int value, const char* what);  // throws std::system_error when `value` is negative
  ~Descriptor();
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int get() const { return value_; }

 private:
  int value_;
};

class Terminal {
 public:
  Terminal();
  int far() const { return far_.get(); }
  const std::string& name() const { return name_; }

 private:
  Descriptor far_;
  std::string name_;
};

// The near end of a terminal, raw and blocking, as the barest of hosts opens it.
int openBare(const std::string& name);

void writeAll(int descriptor, std::span<const std::uint8_t> bytes);
// False when the other end is gone.
bool readAll(int descriptor, std::span<std::uint8_t> bytes);

}  // namespace BX::bench
