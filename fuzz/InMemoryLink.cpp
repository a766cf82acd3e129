#include "fuzz/InMemoryLink.h"

#include <utility>

#include "bx/BXSerialCom.h"
#include "platform/serial/Payload.h"

namespace BX {

namespace link {

using Handler = std::function<void()>;

class Link {
 public:
  // As the link's contract has it: the payloads go to the handler when the answer is a success.
  bool exchange(const Bytes& request, const Expected& expected, const Handler& handler) {
    const auto answer = open ? fuzz::farEnd().answer(request) : std::vector<Bytes>();
    const bool done = !answer.empty() && !failureOf(request, expected, answer.back()) && handOver(answer, handler);
    if (!done) error = true;
    return done;
  }

  void listen() {
    if (!open || streaming) return;
    streaming = running = true;
    while (running) {
      const auto payload = fuzz::farEnd().streamed();
      if (!payload || !handOver({*payload}, streamHandler)) break;
    }
    streaming = running = false;
  }

  std::string port;
  bool open = false;
  bool running = false;
  bool streaming = false;
  bool error = false;
  Bytes received;
  Handler replyHandler;
  Handler streamHandler;

 private:
  // A handler that throws fails its exchange.
  bool handOver(const std::vector<Bytes>& payloads, const Handler& handler) try {
    for (const Bytes& payload : payloads) {
      received = payload;
      if (handler) handler();
    }
    return true;
  } catch (...) {
    return false;
  }
};

}  // namespace link

namespace fuzz {

FarEnd& farEnd() {
  static FarEnd instance;
  return instance;
}

}  // namespace fuzz

using link::Link;
using link::withSum;
namespace letter = link::letter;

const std::string BXSerialCom::DEVICE_INFO_SERIAL_NUMBER = "SERIAL_NUMBER";
const std::string BXSerialCom::DEVICE_INFO_USAGE_INFORMATION = "USAGE_INFORMATION";
const std::string BXSerialCom::DEVICE_INFO_ID = "ID";
const std::string BXSerialCom::DEVICE_INFO_PROGRAM = "PROGRAM";
const std::string BXSerialCom::DEVICE_INFO_DATE = "DATE";
const std::string BXSerialCom::DEVICE_INFO_TIME = "TIME";
const std::string BXSerialCom::DEVICE_INFO_ERROR_COUNTERS = "ERROR_COUNTERS";
const std::string BXSerialCom::DEVICE_INFO_STORED_RESULTS = "STORED_RESULTS";

BXSerialCom::BXSerialCom() : link_(std::make_shared<Link>()) {}
BXSerialCom::BXSerialCom(const BXSerialCom& other) : BXSerialCom() { link_->port = other.link_->port; }
BXSerialCom::~BXSerialCom() = default;

bool BXSerialCom::initializePort(const std::string& port) {
  if (link_->open) return false;
  link_->port = port;
  return true;
}
bool BXSerialCom::openPort() { return link_->open = true; }
bool BXSerialCom::closePort() { return std::exchange(link_->open, false); }
bool BXSerialCom::isConnected() const { return link_->open; }

bool BXSerialCom::sendStartupCommand() { return link_->exchange(withSum({letter::startup}), {letter::startup}, {}); }
bool BXSerialCom::setDeviceMode(const DeviceMode& mode, bool) {
  return link_->exchange(withSum({letter::mode, static_cast<std::uint8_t>(mode)}), {letter::mode}, {});
}
bool BXSerialCom::sendDeviceInfoCommand(const std::string& item, std::function<void()> callback) {
  const auto code = link::informationCode(item);
  return code && link_->exchange(withSum({letter::information, *code}), {}, callback ? callback : link_->replyHandler);
}
bool BXSerialCom::getParameterSetFrame(unsigned char frame) {
  return link_->exchange(withSum({letter::parameterSetRead, frame}), {}, link_->replyHandler);
}
bool BXSerialCom::sendBytesAckReturn(std::vector<unsigned char>& bytes, const unsigned char& ack,
                                     std::function<void()> callback, bool) {
  return link_->exchange(bytes, {ack}, callback);
}
bool BXSerialCom::sendDownloadTargetRequest(std::vector<unsigned char>& bytes, const unsigned char& ack) {
  return link_->exchange(bytes, {ack}, link_->replyHandler);
}
bool BXSerialCom::sendDownloadRequest(std::vector<unsigned char>& bytes, std::function<void()> callback) {
  return link_->exchange(bytes, {letter::storedResults}, callback);
}
bool BXSerialCom::poll() { return link_->exchange(withSum({letter::poll}), {}, link_->replyHandler); }

unsigned char BXSerialCom::calculateSum(const std::vector<unsigned char>& bytes) const { return link::sumOf(bytes); }
std::vector<unsigned char> BXSerialCom::getReceivedBytes() const { return link_->received; }

void BXSerialCom::setCallBackFunction(std::function<void()> callback) { link_->replyHandler = std::move(callback); }
void BXSerialCom::setProcessTrainingCallback(std::function<void()> callback) {
  link_->streamHandler = std::move(callback);
}
void BXSerialCom::setRemoveDeviceCallback(std::function<bool(const char*)>) {}

void BXSerialCom::startSessionListening() { link_->listen(); }
void BXSerialCom::setRunning(const bool& running) { link_->running = running; }
bool BXSerialCom::getStreaming() const { return link_->streaming; }
void BXSerialCom::setStreaming(const bool& streaming) { link_->streaming = streaming; }

void BXSerialCom::setClearBuffer(const bool&) {}
void BXSerialCom::setReadyToSend(const bool&) {}
void BXSerialCom::setWaitingForAck(bool) {}
void BXSerialCom::setIsStartup(bool) {}

bool BXSerialCom::getError() const { return link_->error; }
void BXSerialCom::setError(bool error) { link_->error = error; }

}  // namespace BX
