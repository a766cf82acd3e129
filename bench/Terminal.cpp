#include "bench/Terminal.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <system_error>

namespace BX::bench {

namespace {

[[noreturn]] void fail(const char* what) { throw std::system_error(errno, std::generic_category(), what); }

std::string nameOf(int far) {
  if (::grantpt(far) != 0 || ::unlockpt(far) != 0) fail("grantpt");
  std::array<char, 128> name{};
  if (::ptsname_r(far, name.data(), name.size()) != 0) fail("ptsname");
  return name.data();
}

}  // namespace

Descriptor::Descriptor(int value, const char* what) : value_(value) {
  if (value < 0) fail(what);
}

Descriptor::~Descriptor() { ::close(value_); }

Terminal::Terminal() : far_(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC), "posix_openpt"), name_(nameOf(far_.get())) {
  const Descriptor near(openBare(name_), "opening the terminal");  // makes it raw, which outlives this visit
}

int openBare(const std::string& name) {
  const int descriptor = ::open(name.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
  if (descriptor < 0) return descriptor;
  termios settings{};
  ::tcgetattr(descriptor, &settings);
  ::cfmakeraw(&settings);
  ::tcsetattr(descriptor, TCSANOW, &settings);
  return descriptor;
}

void writeAll(int descriptor, std::span<const std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
    if (written < 0) fail("writing to the terminal");
    bytes = bytes.subspan(static_cast<std::size_t>(written));
  }
}

bool readAll(int descriptor, std::span<std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const ssize_t got = ::read(descriptor, bytes.data(), bytes.size());
    if (got <= 0) return false;
    bytes = bytes.subspan(static_cast<std::size_t>(got));
  }
  return true;
}

}  // namespace BX::bench
