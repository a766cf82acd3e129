#include "platform/serial/SerialPortHandle.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <boost/asio/error.hpp>
#include <cerrno>
#include <chrono>
#include <system_error>
#include <thread>

#include "bx/BXSerialLink.h"

namespace BX::link {

namespace {

// How long closing waits for a line that does not take what was written.
constexpr std::chrono::milliseconds drainLimit{50};

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

void require(int result) {
  if (result < 0) throw failureFor(errno);
}

// 0x0D, 0x11 and 0x13 are data here: no translation, no XON/XOFF, no echo.
termios rawOf(termios settings) {
  ::cfmakeraw(&settings);
  settings.c_iflag |= IGNPAR;
  settings.c_iflag &= ~static_cast<tcflag_t>(IXOFF | IXANY);
  settings.c_cflag |= CREAD | CLOCAL;
  settings.c_cflag &= ~static_cast<tcflag_t>(HUPCL);
  settings.c_cc[VMIN] = 1;
  settings.c_cc[VTIME] = 0;
  return settings;
}

// Waits for the last bytes, which leave at the line's own speed. A line that does not take them loses them.
void drain(PortHandle handle) {
  const auto end = std::chrono::steady_clock::now() + drainLimit;
  int waiting = 0;
  while (::ioctl(handle, TIOCOUTQ, &waiting) == 0 && waiting > 0 && std::chrono::steady_clock::now() < end) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  if (waiting > 0) ::tcflush(handle, TCOFLUSH);
}

}  // namespace

struct LineSettings {
  termios settings;
};

SerialPort openSerialPort(const std::string& port) {
  SerialPort opened;
  opened.handle = ::open(port.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
  require(opened.handle);
  try {
    if (::isatty(opened.handle) == 0) throw failureFor(ENOTTY);
    // Of a terminal by any of its names, only the processes that it controls are told the session.
    if (::tcgetsid(opened.handle) >= 0)
      throw OpenFailure(FailureKind::NotASerialPort, "is this program's own terminal");
    // TIOCEXCL does not stop root; flock stops every program that asks.
    require(::flock(opened.handle, LOCK_EX | LOCK_NB));
    require(::ioctl(opened.handle, TIOCEXCL));
    termios found{};
    require(::tcgetattr(opened.handle, &found));
    opened.found = std::make_shared<const LineSettings>(LineSettings{found});
    const termios raw = rawOf(found);
    require(::tcsetattr(opened.handle, TCSANOW, &raw));
    // Its last user may have stopped the output. Nobody else has the handle yet.
    ::tcflow(opened.handle, TCOON);  // NOLINT(concurrency-mt-unsafe)
    return opened;
  } catch (...) {
    closeSerialPort(opened);
    throw;
  }
}

std::size_t writeAtOnce(PortHandle handle, std::span<const std::uint8_t> bytes) {
  const ssize_t written = ::write(handle, bytes.data(), bytes.size());
  return written > 0 ? static_cast<std::size_t>(written) : 0;
}

void discardInput(PortHandle handle) { ::tcflush(handle, TCIFLUSH); }

bool isHangUp(const boost::system::error_code& error) {
  return error == boost::asio::error::eof || error == boost::asio::error::operation_aborted || error.value() == EIO ||
         error.value() == ENXIO || error.value() == ENODEV;
}

void releaseSerialPort(const SerialPort& port) {
  if (port.found) {
    drain(port.handle);
    termios settings = port.found->settings;
    settings.c_cflag &= ~static_cast<tcflag_t>(HUPCL);
    ::tcsetattr(port.handle, TCSADRAIN, &settings);
    ::ioctl(port.handle, TIOCNXCL);
  }
  ::flock(port.handle, LOCK_UN);
}

void closeSerialPort(const SerialPort& port) {
  releaseSerialPort(port);
  ::close(port.handle);
}

}  // namespace BX::link
