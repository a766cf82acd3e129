#include "Control.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <system_error>
#include <utility>

#include "tools/bx/Console.h"

namespace BX::range {

namespace {

constexpr int patienceMs = 5000;
constexpr int stopIntervalMs = 100;
constexpr std::size_t mostBytes = 1024;

[[noreturn]] void fail(const std::string& folder, const std::string& step) {
  const int code = errno;
  const bool isAlone = code == ENOENT || code == ECONNREFUSED;
  throw tool::Failure(tool::deviceFailed, folder + ": " + step + ": " +
                                              (isAlone ? "no gate runs here" : std::generic_category().message(code)));
}

const sockaddr* generic(const sockaddr_un& address) { return reinterpret_cast<const sockaddr*>(&address); }

// The address of the socket in a folder whose own name may be longer than an address can be.
class Address {
 public:
  explicit Address(const std::string& folder) : folder_(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)) {
    if (folder_ < 0) fail(folder, "open");
    address_.sun_family = AF_UNIX;
    std::snprintf(address_.sun_path, sizeof address_.sun_path, "/proc/self/fd/%d/control", folder_);
  }
  ~Address() { ::close(folder_); }
  Address(const Address&) = delete;
  Address& operator=(const Address&) = delete;

  const sockaddr_un& get() const { return address_; }
  const char* path() const { return address_.sun_path; }

 private:
  int folder_;
  sockaddr_un address_{};
};

}  // namespace

Control::Control(const std::string& folder, Handler handler)
    : folder_(folder),
      handler_(std::move(handler)),
      socket_(::socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)) {
  const Address address(folder);
  ::unlink(address.path());  // of a gate that was killed; the lock tells that it is gone
  if (socket_ >= 0 && ::bind(socket_, generic(address.get()), sizeof(sockaddr_un)) == 0) return;
  ::close(socket_);
  fail(folder, "control");
}

Control::~Control() {
  thread_.request_stop();
  if (thread_.joinable()) thread_.join();
  ::unlink((folder_ + "/control").c_str());
  ::close(socket_);
}

void Control::serve() {
  thread_ = std::jthread([this](const std::stop_token& stop) {
    pollfd socket = {socket_, POLLIN, 0};
    while (!stop.stop_requested()) {
      if (::poll(&socket, 1, stopIntervalMs) == 1) answer();
    }
  });
}

void Control::answer() const {
  std::array<char, mostBytes> text{};
  sockaddr_un sender{};
  socklen_t size = sizeof sender;
  for (ssize_t count = 0;; size = sizeof sender) {
    count = ::recvfrom(socket_, text.data(), text.size(), 0, reinterpret_cast<sockaddr*>(&sender), &size);
    if (count < 0) return;
    const std::string answer = handler_(std::string(text.data(), static_cast<std::size_t>(count)));
    ::sendto(socket_, answer.data(), std::min(answer.size(), mostBytes), 0, generic(sender), size);
  }
}

std::string askGate(const std::string& folder, const std::string& lane) {
  const Address address(folder);
  const int socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  sockaddr_un own{};
  own.sun_family = AF_UNIX;
  std::array<char, mostBytes> text{};
  ssize_t count = -1;
  // Bound to no more than the family, it gets a name from the system that is no file.
  if (::bind(socket, generic(own), sizeof own.sun_family) == 0 &&
      ::sendto(socket, lane.data(), lane.size(), 0, generic(address.get()), sizeof(sockaddr_un)) >= 0) {
    pollfd answer = {socket, POLLIN, 0};
    const bool isAnswered = ::poll(&answer, 1, patienceMs) == 1;
    if (!isAnswered) errno = ETIMEDOUT;
    count = isAnswered ? ::recv(socket, text.data(), text.size(), 0) : -1;
  }
  const int code = errno;
  ::close(socket);
  errno = code;
  if (count < 0) fail(folder, "ask the gate");
  return {text.data(), static_cast<std::size_t>(count)};
}

}  // namespace BX::range
