#include "Connection.h"

#include <cstdint>
#include <vector>

#include "Interrupt.h"
#include "PortLookup.h"
#include "bx/Waiting.h"
#include "morva/KeyedAccess.h"
#include "platform/Hex.h"
#include "platform/Letters.h"

namespace BX::tool {

namespace {

// What a request asked for, as far as a person has a name for it. Of a silhouette's requests only the first carries its
// number.
std::string subjectOf(const std::vector<std::uint8_t>& request) {
  namespace letter = wire::letter;
  constexpr std::uint8_t wholeBlock = 0xFF;
  if (request.size() < 3) return {};
  const std::string first = std::to_string(request[1]);
  const std::string second = std::to_string(request[2]);
  if (request[0] == letter::ringRequest) return "ring target " + first + ": ";
  if (request[0] == letter::silhouetteRequest && request[2] == 0) return "silhouette target " + first + ": ";
  if (request[0] != letter::storedResults) return {};
  return (request[2] == wholeBlock ? "" : "page " + second + " of ") + ("block " + first + ": ");
}

}  // namespace

std::string connectFailure(const std::string& port, const link::Failure& failure) {
  switch (failure.kind) {
    case link::FailureKind::InUse: {
      const auto holder = Holders().of(port);
      return port + ": " + failure.text + (holder && holder->process != 0 ? ": " + describe(*holder) : "");
    }
    case link::FailureKind::NotPermitted:
      return port + ": open: " + failure.text + accessAdvice(port);
    case link::FailureKind::NoSuchPort:
    case link::FailureKind::NotASerialPort:
    case link::FailureKind::BadLineSpeed:
    case link::FailureKind::System:
      return port + ": open: " + failure.text;
    default:
      return port + ": connect: " + explain(failure);
  }
}

std::string explain(const link::Failure& failure) {
  if (failure.kind == link::FailureKind::None) return "failed";
  if (failure.request.empty()) return failure.text;
  return subjectOf(failure.request) + failure.text + " (request " + platform::hexOf(failure.request, " ", 4) + ")";
}

Connection::Connection(const Tool& tool, std::string port) : port_(std::move(port)) {
  catchInterrupts();
  setWaitFunction(link::wait);
  cancelled_.emplace(interruption());
  manager_.addDevice(port_, "bx");
  const Json connected = manager_.connectDevice(port_, tool.global.skipStartup);
  if (interrupted()) throw interruptedFailure(port_ + ": connect");
  if (!connected.getDocument().HasMember(port_.c_str())) {
    throw Failure(deviceFailed, connectFailure(port_, link::lastFailure(port_)));
  }
  settings_ = MORVA::getDocument(connected, port_);
  // A hang-up must not take the device away while it is in use here: isConnected tells of it.
  device().setRemoveDeviceCallback({});
}

Connection::~Connection() {
  cancelled_.reset();
  if (device().getSerialCom().getStreaming()) manager_.stopTraining(port_);
  manager_.disconnectDevice(port_);
}

void Connection::fail(const std::string& step) {
  if (interrupted()) {
    // Ended in the middle, the device would stay in the mode that it was given.
    cancelled_.reset();
    device().getSerialCom().setDeviceMode(BXSerialCom::RESTING, false);
    throw interruptedFailure(port_ + ": " + step);
  }
  throw Failure(deviceFailed, port_ + ": " + step + ": " + explain(link::lastFailure(port_)));
}

}  // namespace BX::tool
