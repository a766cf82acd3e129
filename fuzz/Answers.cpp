// The whole device object against a device that answers anything: every operation that asks, and the stream.
#include "bx/BXDevice.h"
#include "fuzz/Fuzz.h"
#include "fuzz/InMemoryLink.h"
#include "morva/KeyedAccess.h"
#include "platform/Wire.h"
#include "platform/time/TimeSeam.h"

namespace {

using namespace BX;
using fuzz::Bytes;
using fuzz::require;

// A page table names up to 1,530 pages; a device that is asked for so many is asked for ever by a short input.
constexpr int longestDialogue = 2000;

// What the input has the device say. The first byte tells how: refused, silent, taken as it stands, or made to look
// like the answer that the request expects, so that more of it is read.
class Device {
 public:
  explicit Device(fuzz::Input& input) : input_(input) {}

  std::vector<Bytes> answer(const Bytes& request) {
    if (++requests_ > longestDialogue) return {};
    const std::uint8_t letter = request.front();
    switch (input_.byte() % 16) {
      case 1:
        return {{wire::refusalMark, letter}};
      case 2:
        return {};
      case 3:
        return {payload()};
      case 4:
        return records(letter);
      default:
        return {fitting(request)};
    }
  }

  std::optional<Bytes> streamed() {
    if (input_.empty()) return std::nullopt;
    return payload();
  }

 private:
  Bytes payload() {
    const auto bytes = input_.take(input_.byte() % 64);
    return {bytes.begin(), bytes.end()};
  }
  Bytes fitting(const Bytes& request) {
    Bytes bytes{wire::replyMark, request.front()};
    if (request.front() == wire::letter::information || request.front() == wire::letter::parameterSetRead) {
      bytes.push_back(request[1]);
    } else if (request.front() == wire::letter::ringRequest || request.front() == wire::letter::silhouetteRequest) {
      bytes.insert(bytes.end(), request.begin() + 1, request.begin() + 3);
    }
    const Bytes content = payload();
    bytes.insert(bytes.end(), content.begin(), content.end());
    return bytes;
  }
  std::vector<Bytes> records(std::uint8_t letter) {
    std::vector<Bytes> payloads;
    for (int count = input_.byte() % 8; count > 0; --count) payloads.push_back(payload());
    payloads.push_back({wire::replyMark, letter});
    return payloads;
  }

  fuzz::Input& input_;
  int requests_ = 0;
};

void operate(BXDevice& device, fuzz::Input& input) {
  switch (input.byte() % 10) {
    case 0:
      device.connectDevice(input.byte() % 2 == 0);
      break;
    case 1:
      device.getParameterSetFrames();
      break;
    case 2:
      device.downloadRingTarget(input.byte());
      break;
    case 3:
      device.downloadSilhouetteTarget(input.byte());
      break;
    case 4:
      device.sendDownloadFrame();
      require(!device.isDownloading(), "a download has an end");
      require(!device.hasError() || device.trainingFrameCount() == 0, "a failed download leaves no records");
      break;
    case 5:
      device.clearTrainingDataOnDevice();
      break;
    case 6:
      device.startThread();
      require(!device.getSerialCom().getStreaming(), "a stream has an end");
      break;
    case 7:
      device.poll();
      break;
    case 8:
      device.disconnectDevice();
      break;
    default:
      device.setParameterSetFrames();
  }
  device.setError(false);
}

void look(BXDevice& device) {
  for (const auto& target : device.getAllTargets()) require(target.getDocument().IsObject(), "targets are objects");
  for (const auto& record : device.takeTrainingFrames()) require(record.getDocument().IsObject(), "so are records");
  require(device.getDeviceSettings().getDocument().IsObject(), "and settings");
  BXDevice copy(device);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::silenceConsole();
  platform::replaceTime({[](std::chrono::milliseconds) {}, [] { return 0U; }});
  fuzz::Input input(data, size);
  Device far(input);
  fuzz::farEnd() = {[&far](const Bytes& request) { return far.answer(request); }, [&far] { return far.streamed(); }};
  BXDevice device;
  device.setDevicePort("fuzz");
  device.getSerialCom().openPort();
  while (!input.empty()) operate(device, input);
  look(device);
  return 0;
}
