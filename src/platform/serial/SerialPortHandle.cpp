#include "platform/serial/SerialPortHandle.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "bx/BXSerialLink.h"

namespace BX::link {

namespace {

OpenFailure failureFor(int error) {
  switch (error) {
    case ENOENT:
    case ENXIO:
    case ENODEV:
      return {FailureKind::NoSuchPort, "no such port"};
    case EACCES:
    case EPERM:
      return {FailureKind::NotPermitted, "permission denied"};
    case EBUSY:
    case EWOULDBLOCK:
      return {FailureKind::InUse, "in use by another program"};
    case ENOTTY:
      return {FailureKind::NotASerialPort, "not a serial port"};
    default:
      return {FailureKind::System, std::generic_category().message(error)};
  }
}

// Closes the descriptor unless it is released.
class Descriptor {
 public:
  explicit Descriptor(int value) : value_(value) { require(value); }
  ~Descriptor() {
    if (value_ >= 0) closeSerialPort(value_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int get() const { return value_; }
  int release() { return std::exchange(value_, -1); }
  static void require(int result) {
    if (result < 0) throw failureFor(errno);
  }

 private:
  int value_;
};

// 0x0D, 0x11 and 0x13 are data here: no translation, no XON/XOFF, no echo.
void makeRaw(int handle) {
  termios settings{};
  Descriptor::require(::tcgetattr(handle, &settings));
  ::cfmakeraw(&settings);
  settings.c_iflag |= IGNPAR;
  settings.c_iflag &= ~static_cast<tcflag_t>(IXOFF | IXANY);
  settings.c_cflag |= CREAD | CLOCAL;
  settings.c_cflag &= ~static_cast<tcflag_t>(HUPCL);
  settings.c_cc[VMIN] = 1;
  settings.c_cc[VTIME] = 0;
  Descriptor::require(::tcsetattr(handle, TCSANOW, &settings));
  // Its last user may have stopped the output. Nobody else has the handle yet.
  ::tcflow(handle, TCOON);  // NOLINT(concurrency-mt-unsafe)
}

}  // namespace

int openSerialPort(const std::string& port) {
  Descriptor descriptor(::open(port.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
  if (::isatty(descriptor.get()) == 0) throw failureFor(ENOTTY);
  // TIOCEXCL does not stop root; flock stops every program that asks.
  Descriptor::require(::flock(descriptor.get(), LOCK_EX | LOCK_NB));
  Descriptor::require(::ioctl(descriptor.get(), TIOCEXCL));
  makeRaw(descriptor.get());
  return descriptor.release();
}

std::size_t writeAtOnce(int handle, std::span<const std::uint8_t> bytes) {
  const ssize_t written = ::write(handle, bytes.data(), bytes.size());
  return written > 0 ? static_cast<std::size_t>(written) : 0;
}

void discardInput(int handle) { ::tcflush(handle, TCIFLUSH); }

void releaseSerialPort(int handle) {
  ::ioctl(handle, TIOCNXCL);
  ::flock(handle, LOCK_UN);
}

void closeSerialPort(int handle) {
  ::flock(handle, LOCK_UN);
  ::close(handle);
}

}  // namespace BX::link
