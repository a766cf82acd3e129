#include "bx/BXSerialCom.h"

#include <utility>

#include "platform/serial/Link.h"

namespace BX {

namespace {

using link::withSum;
namespace letter = link::letter;

}  // namespace

const std::string BXSerialCom::DEVICE_INFO_SERIAL_NUMBER(link::item::serialNumber.name);
const std::string BXSerialCom::DEVICE_INFO_USAGE_INFORMATION(link::item::usageInformation.name);
const std::string BXSerialCom::DEVICE_INFO_ID(link::item::id.name);
const std::string BXSerialCom::DEVICE_INFO_PROGRAM(link::item::program.name);
const std::string BXSerialCom::DEVICE_INFO_DATE(link::item::date.name);
const std::string BXSerialCom::DEVICE_INFO_TIME(link::item::time.name);
const std::string BXSerialCom::DEVICE_INFO_ERROR_COUNTERS(link::item::errorCounters.name);
const std::string BXSerialCom::DEVICE_INFO_STORED_RESULTS(link::item::storedResults.name);

BXSerialCom::BXSerialCom() : link_(std::make_shared<link::Link>(std::string())) {}

BXSerialCom::BXSerialCom(const BXSerialCom& other) : link_(std::make_shared<link::Link>(other.link_->port())) {}

BXSerialCom& BXSerialCom::operator=(const BXSerialCom& other) {
  if (this == &other) return *this;
  auto copy = std::make_shared<link::Link>(other.link_->port());
  link_->close();
  link_ = std::move(copy);
  currentDeviceMode = NO_MODE;
  return *this;
}

BXSerialCom::~BXSerialCom() { link_->close(); }

bool BXSerialCom::initializePort(const std::string& port) { return link_->setPort(port); }
bool BXSerialCom::openPort() { return link_->open(); }
bool BXSerialCom::closePort() { return link_->close(); }

bool BXSerialCom::isConnected() const {
  const auto connection = link_->connection();
  return connection && connection->isUp();
}

bool BXSerialCom::sendStartupCommand() { return link_->exchange(withSum({letter::startup}), {letter::startup}, {}); }

bool BXSerialCom::setDeviceMode(const DeviceMode& mode, [[maybe_unused]] bool endsStream) {
  const bool done = link_->commandMode(static_cast<std::uint8_t>(mode));
  if (link_->isModeUnknown()) currentDeviceMode = NO_MODE;
  return done;
}

// The signatures are the host's.
// NOLINTBEGIN(performance-unnecessary-value-param)
bool BXSerialCom::sendDeviceInfoCommand(const std::string& item, std::function<void()> callback) {
  const auto code = link::informationCode(item);
  if (!code) return link_->fail({link::FailureKind::BadRequest, {}, "there is no information item \"" + item + "\""});
  return link_->exchange(withSum({letter::information, *code}), {},
                         callback ? callback : link_->handlers().reply.get());
}

bool BXSerialCom::getParameterSetFrame(unsigned char frame) {
  return link_->exchange(withSum({letter::parameterSetRead, frame}), {}, link_->handlers().reply.get());
}

bool BXSerialCom::sendBytesAckReturn(std::vector<unsigned char>& bytes, const unsigned char& ack,
                                     std::function<void()> callback, [[maybe_unused]] bool unused) {
  return link_->exchange(bytes, {ack}, callback);
}

bool BXSerialCom::sendDownloadTargetRequest(std::vector<unsigned char>& bytes, const unsigned char& ack) {
  return link_->exchange(bytes, {ack}, link_->handlers().reply.get());
}

bool BXSerialCom::sendDownloadRequest(std::vector<unsigned char>& bytes, std::function<void()> callback) {
  return link_->exchange(bytes, {letter::storedResults}, callback);
}
// NOLINTEND(performance-unnecessary-value-param)

bool BXSerialCom::poll() { return link_->exchange(withSum({letter::poll}), {}, link_->handlers().reply.get()); }

unsigned char BXSerialCom::calculateSum(const std::vector<unsigned char>& bytes) const { return link::sumOf(bytes); }

void BXSerialCom::intToByteArray(std::vector<unsigned char>& bytes, int value) const {
  const auto bits = static_cast<std::uint32_t>(value);
  bytes.clear();
  for (unsigned shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<unsigned char>(bits >> shift));
}

std::vector<unsigned char> BXSerialCom::getReceivedBytes() const {
  const auto* current = link_->handlers().gate.current();
  return current != nullptr ? *current : link_->handlers().lastReply.get();
}

void BXSerialCom::setCallBackFunction(std::function<void()> callback) {
  link_->handlers().reply.set(std::move(callback));
}

void BXSerialCom::setProcessTrainingCallback(std::function<void()> callback) {
  link_->handlers().stream.set(std::move(callback));
}

void BXSerialCom::setRemoveDeviceCallback(std::function<bool(const char*)> callback) {
  link_->handlers().removed.set(std::move(callback));
}

void BXSerialCom::startSessionListening() {
  if (const auto connection = link_->connection()) connection->startListening();
}

void BXSerialCom::setRunning(const bool& running) {
  if (const auto connection = link_->connection()) connection->listening().setRunning(running);
}

bool BXSerialCom::getStreaming() const {
  const auto connection = link_->connection();
  return connection && connection->listening().streaming;
}

void BXSerialCom::setStreaming(const bool& streaming) {
  if (const auto connection = link_->connection()) connection->listening().streaming = streaming;
}

// This link waits for each answer itself; there is nothing to release or to clear.
void BXSerialCom::setClearBuffer([[maybe_unused]] const bool& clear) {}
void BXSerialCom::setReadyToSend([[maybe_unused]] const bool& ready) {}
void BXSerialCom::setWaitingForAck([[maybe_unused]] bool waiting) {}
void BXSerialCom::setIsStartup([[maybe_unused]] bool startup) {}

bool BXSerialCom::getError() const { return link_->handlers().error; }
void BXSerialCom::setError(bool error) { link_->handlers().error = error; }

}  // namespace BX
