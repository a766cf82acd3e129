#include "tools/bx/System.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <system_error>
#include <thread>
#include <utility>

#include "simulator/Simulator.h"

namespace BX::tool::system {

namespace {

std::array<int, 2> raised{};  // a pipe: a signal's handler may do little else than write

void onSignal(int signal) {
  const int error = errno;
  const auto number = static_cast<unsigned char>(signal);
  [[maybe_unused]] const ssize_t written = ::write(raised[1], &number, 1);
  errno = error;
}

}  // namespace

void prepareStreams() {
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
}

bool isTerminal(int descriptor) { return ::isatty(descriptor) == 1; }

std::size_t terminalWidth() {
  winsize size = {};
  return ::ioctl(standardError, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

bool isOutputRead() {
  pollfd output = {standardOutput, 0, 0};
  return ::poll(&output, 1, 0) <= 0 || (output.revents & POLLERR) == 0;
}

bool takesError() {
  pollfd terminal = {standardError, POLLOUT, 0};
  return ::poll(&terminal, 1, 0) == 1;
}

void onSignals(std::function<void(int signal)> handle) {
  if (::pipe2(raised.data(), O_CLOEXEC) != 0) throw std::system_error(errno, std::generic_category(), "signals");
  std::thread([handle = std::move(handle)] {
    for (unsigned char signal = 0;;) {
      if (::read(raised[0], &signal, 1) == 1) handle(signal);
    }
  }).detach();
  struct sigaction action = {};
  action.sa_handler = onSignal;
  action.sa_flags = SA_RESTART;  // no call of anybody fails because of it
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction former = {};
    sigaction(signal, nullptr, &former);
    if (signal != SIGHUP || former.sa_handler != SIG_IGN) sigaction(signal, &action, nullptr);
  }
}

SimulatedPort makeSimulatedPort() {
  auto terminal = std::make_unique<sim::PtyLine>();
  const std::string name = terminal->name();
  return {name, std::move(terminal)};
}

}  // namespace BX::tool::system
