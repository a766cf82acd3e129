// A trace, replayed into the library: the host's requests go out again in their order, and a playback of the device's
// frames answers them.
#include <algorithm>
#include <chrono>
#include <functional>
#include <thread>

#include "Connection.h"
#include "Documents.h"
#include "Playback.h"
#include "Records.h"
#include "bx/DocumentKeys.h"
#include "morva/KeyedAccess.h"
#include "platform/codec/Payload.h"

namespace BX::tool {

namespace {

namespace letter = link::letter;
using Kind = Step::Kind;

// A stream's records are decoded on a thread of their own; this is long after the last one has been given.
constexpr std::chrono::seconds recordLimit{5};
constexpr std::chrono::milliseconds recordPoll{1};

bool isStreamMode(const Bytes& request) {
  return request.size() >= 2 && request[0] == letter::mode &&
         (request[1] == BXSerialCom::CLASSIC_STREAM || request[1] == BXSerialCom::FIELD_STREAM);
}

// The item whose code is `code`; empty for an unknown one.
std::string informationItem(std::uint8_t code) {
  for (const auto* item : {&BXSerialCom::DEVICE_INFO_SERIAL_NUMBER, &BXSerialCom::DEVICE_INFO_USAGE_INFORMATION,
                           &BXSerialCom::DEVICE_INFO_ID, &BXSerialCom::DEVICE_INFO_PROGRAM,
                           &BXSerialCom::DEVICE_INFO_DATE, &BXSerialCom::DEVICE_INFO_TIME,
                           &BXSerialCom::DEVICE_INFO_ERROR_COUNTERS, &BXSerialCom::DEVICE_INFO_STORED_RESULTS}) {
    if (link::informationCode(*item) == code) return *item;
  }
  return {};
}

class Replay {
 public:
  Replay(Tool& tool, const ReplayOptions& options)
      : records_(tool.console, {}),
        recording_(readRecording(options.file, options.port)),
        playback_(recording_, options.isTimed) {
    link::setTransport(recording_.port, [this](const std::string&) { return playback_.line(); });
    device_.setDevicePort(recording_.port);
    if (!options.target.empty()) useTarget(loadTarget(tool, options.target, ""));
  }
  ~Replay() {
    device_.getSerialCom().closePort();
    link::setTransport(recording_.port, {});
  }
  Replay(const Replay&) = delete;
  Replay& operator=(const Replay&) = delete;

  // False when the replay has departed from the trace, which ends it; so does a reader that goes away.
  bool run() {
    for (const Step& step : recording_.steps) {
      take(step);
      if (isOver()) return !hasDeparted();
    }
    finishStream(recording_.entries.size(), recording_.records);
    return !hasDeparted();
  }

  const std::string& missing() const { return recording_.missing; }
  std::vector<std::string> departures() const { return playback_.departures(); }

  std::string summary() const {
    return "Replayed " + std::to_string(requests_) + " requests and " + std::to_string(playback_.framesGiven()) +
           " frames of the device: " + records_.summary();
  }

 private:
  // An upload on a closed port fails at once, but tells the device object of the target in use.
  void useTarget(TargetFile target) {
    if (target.type == text::ring) {
      device_.uploadRingTarget(target.document);
    } else {
      device_.uploadSilhouetteTarget(target.document);
    }
  }

  bool hasDeparted() const { return !playback_.departures().empty(); }
  bool isOver() const { return !isRead_ || hasDeparted(); }

  void take(const Step& step) {
    if (step.kind == Kind::Open) {
      device_.getSerialCom().closePort();
      playback_.skipTo(step.at);
      device_.getSerialCom().openPort();
      recordsBefore_ = records_.count();
      return;
    }
    finishStream(step.at, step.recordsBefore);
    if (isOver()) return;
    if (step.kind == Kind::Request) {
      repeat(step);
    } else {
      playback_.goTo(step.at + 1);
    }
  }

  // Lets the device say all that it said before the entry `at`, and takes the records in it.
  void finishStream(std::size_t at, std::size_t expected) {
    playback_.goTo(at);
    const auto limit = std::chrono::steady_clock::now() + recordLimit;
    for (bool more = true; more;) {
      more = device_.getSerialCom().getStreaming() && std::chrono::steady_clock::now() < limit;
      for (const auto& record : device_.takeTrainingFrames()) isRead_ = isRead_ && records_.add(record);
      if (!isRead_ || recordsHere() >= expected) return;
      if (more) std::this_thread::sleep_for(recordPoll);
    }
    playback_.depart(recording_.entries[std::min(at, recording_.entries.size() - 1)],
                     std::to_string(expected) + " records were streamed by then, and " + std::to_string(recordsHere()) +
                         " came in the replay");
  }

  // Since the port was opened.
  std::size_t recordsHere() const { return records_.count() - recordsBefore_; }

  void repeat(const Step& step) {
    ++requests_;
    const bool failed = !send(step.request);
    const bool failedThere = !step.answer || link::failureOf(step.request, expectedOf(step.request), *step.answer);
    if (failed == failedThere) return;
    const std::string reason = explain(link::lastFailure(recording_.port));
    playback_.depart(recording_.entries[step.at],
                     failed ? "this request was answered, and fails in the replay: " + reason
                            : "this request had no answer that counts, and succeeds in the replay");
  }

  static link::Expected expectedOf(const Bytes& request) {
    const bool anyAnswer =
        request[0] == letter::information || request[0] == letter::parameterSetRead || request[0] == letter::poll;
    return anyAnswer ? link::Expected{} : link::Expected{request[0]};
  }

  // Sends through the member that the library itself would use.
  bool send(Bytes request) {
    auto& com = device_.getSerialCom();
    const std::function<void()> nothing = [] {};
    com.setCallBackFunction(nothing);
    if (isStreamMode(request)) return startStream(static_cast<BXSerialCom::DeviceMode>(request[1]));
    if (request == link::withSum({letter::startup})) return com.sendStartupCommand();
    if (request[0] == letter::poll) return com.poll();
    if (request[0] == letter::storedResults) return com.sendDownloadRequest(request, nothing);
    if (request.size() == 3) {
      const std::uint8_t argument = request[1];
      if (request[0] == letter::mode) return com.setDeviceMode(static_cast<BXSerialCom::DeviceMode>(argument), true);
      if (request[0] == letter::parameterSetRead) return com.getParameterSetFrame(argument);
      const std::string item = informationItem(argument);
      if (request[0] == letter::information && !item.empty()) return com.sendDeviceInfoCommand(item, nothing);
    }
    return com.sendBytesAckReturn(request, request[0], nothing, false);
  }

  bool startStream(BXSerialCom::DeviceMode mode) {
    Json session;
    MORVA::setBoolean(session, key::session::isInFieldMode, mode == BXSerialCom::FIELD_STREAM);
    device_.setSessionSettings(session);
    device_.getSerialCom().currentDeviceMode = BXSerialCom::NO_MODE;  // the command is sent whatever came before
    device_.startThread();
    return device_.getSerialCom().currentDeviceMode == mode;
  }

  Records records_;
  Recording recording_;
  Playback playback_;
  BXDevice device_;
  std::size_t recordsBefore_ = 0;  // the port was opened last
  std::size_t requests_ = 0;
  bool isRead_ = true;  // standard output
};

}  // namespace

void runReplay(Tool& tool, const ReplayOptions& options) {
  Replay replay(tool, options);
  const bool isSame = replay.run();
  tool.console.note(replay.summary());
  if (!replay.missing().empty()) {
    tool.console.warning(options.file + ": replayed as far as it goes: " + replay.missing());
  }
  if (isSame) return;
  for (const auto& departure : replay.departures()) tool.console.warning(options.file + ": " + departure);
  throw Failure(deviceFailed, options.file + ": the replay departs from the trace: " + replay.departures().front());
}

}  // namespace BX::tool
