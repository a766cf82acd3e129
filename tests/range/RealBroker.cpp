#include "RealBroker.h"

#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <fstream>
#include <stdexcept>

namespace BX::test {

namespace {

int freePort() {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  auto* const generic = reinterpret_cast<sockaddr*>(&address);
  const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const bool isBound = bind(socket, generic, size) == 0 && getsockname(socket, generic, &size) == 0;
  close(socket);
  if (!isBound) throw std::runtime_error("no free port");
  return ntohs(address.sin_port);
}

}  // namespace

range::BrokerAddress RealBroker::address() const {
  range::BrokerAddress address;
  address.host = "127.0.0.1";
  address.port = port_;
  return address;
}

void RealBroker::kill() {
  program_->send(SIGKILL);
  program_.reset();
}

void RealBroker::start() {
  const std::string config = folder_.path("mosquitto.conf");
  // Another program may take a port between our look and the broker's.
  for (int tries = 0; tries < 20; ++tries) {
    if (port_ == 0) port_ = freePort();
    std::ofstream(config) << "listener " << port_ << " 127.0.0.1\nallow_anonymous true\nlog_dest stderr\n";
    program_ = std::make_unique<Program>(std::vector<std::string>{"sh", "-c", "exec mosquitto -c " + config + " 2>&1"});
    for (std::size_t lines = 1;; ++lines) {
      const auto said = program_->awaitLines(lines);
      if (said.size() < lines) break;
      if (said.back().ends_with("running")) return;
    }
    port_ = 0;
  }
  throw std::runtime_error("mosquitto: " + program_->await().err);
}

}  // namespace BX::test
