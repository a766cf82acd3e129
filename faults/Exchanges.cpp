#include "faults/Exchanges.h"

#include <chrono>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "morva/KeyedAccess.h"

namespace BX::faults {

namespace {

using sim::FrameKind;
using Json = MORVA::MORVADataTypeJSON;

constexpr std::size_t streamLength = 20'000;  // more than any cell takes
constexpr double streamRate = 2000;
constexpr std::size_t recordsBeforeStop = 10;

// The exchange itself begins the session.
bool freshSession(Rig& rig) {
  rig.com().closePort();
  return rig.com().openPort();
}
bool transferMode(Rig& rig) { return rig.device.setDeviceMode(BXSerialCom::TRANSFER, false); }

// Reading settings a second time reorders their keys.
bool withoutSettings(Rig& rig) {
  rig.device.setDeviceSettings(Json(MORVA::JSONType::Object));
  return freshSession(rig);
}

bool withSettings(Rig& rig) {
  static const Json deviceSettings = example("device-settings.json");
  static const Json sessionSettings = example("session-settings.json");
  rig.device.setDeviceSettings(deviceSettings);
  rig.device.setSessionSettings(sessionSettings);
  return transferMode(rig);
}

std::string targets(Rig& rig) {
  std::string text;
  for (const Json& target : rig.device.getAllTargets()) text += target.toString() + "\n";
  return text;
}

std::string settings(Rig& rig) { return rig.device.getDeviceSettings().toString(); }

std::string records(Rig& rig) {
  std::string text;
  for (const Json& record : rig.device.getTrainingFrames()) text += record.toString() + "\n";
  return text;
}

bool download(Rig& rig) {
  rig.device.sendDownloadFrame();
  return !rig.device.hasError();
}

std::string afterDownload(Rig& rig) {
  if (rig.device.isDownloading()) return "still downloading";
  return rig.device.getTrainingFrames().empty() ? "" : "records of a failed download";
}

// Takes records until there are `count` or the stream is over.
void take(Rig& rig, std::size_t count) {
  while (rig.streamed.size() < count) {
    const bool over = !rig.com().getStreaming();
    auto taken = rig.device.takeTrainingFrames();
    std::move(taken.begin(), taken.end(), std::back_inserter(rig.streamed));
    if (over) return;
    std::this_thread::sleep_for(std::chrono::microseconds(200));
  }
}

bool startStream(Rig& rig) {
  rig.device.setSessionSettings(fieldMode());
  rig.streamed.clear();
  rig.device.startThread();
  return rig.com().currentDeviceMode == BXSerialCom::FIELD_STREAM && !rig.device.hasError();
}

bool stream(Rig& rig) {
  if (!startStream(rig)) return false;
  take(rig, streamedRecords);
  return rig.streamed.size() >= streamedRecords && !rig.device.hasError();
}

bool startedStream(Rig& rig) {
  if (!startStream(rig)) return false;
  take(rig, recordsBeforeStop);
  return rig.streamed.size() >= recordsBeforeStop;
}

bool stopStream(Rig& rig) {
  const bool stopped = rig.device.setDeviceMode(BXSerialCom::RESTING, true);
  rig.device.stopThread();
  take(rig, streamLength);  // to the end of the stream
  return stopped;
}

// A loss or a repetition among the records that came.
std::string gapOf(Rig& rig) {
  for (std::size_t i = 0; i < rig.streamed.size(); ++i) {
    if (indexOf(rig.streamed[i]) != i) return "record " + std::to_string(i) + " is missing or comes twice";
  }
  return "";
}

// A start that fails listens nevertheless, until it is stopped.
std::string afterStream(Rig& rig) {
  rig.device.stopThread();
  take(rig, streamLength);
  return gapOf(rig);
}

std::string modeUnchanged(Rig& rig) {
  const auto mode = rig.com().currentDeviceMode;
  return mode == BXSerialCom::NO_MODE || mode == BXSerialCom::RESTING ? "" : "the mode counts as set";
}

bool uploadRing(Rig& rig) {
  static Json ring = example("ring-25m-precision-pistol.json");
  return rig.device.uploadRingTarget(ring);
}
bool uploadSilhouette(Rig& rig) {
  static Json silhouette = example("silhouette-torso.json");
  return rig.device.uploadSilhouetteTarget(silhouette);
}

using Run = std::function<bool(Rig&)>;

Run run(bool (BXDevice::*member)()) {
  return [member](Rig& rig) { return (rig.device.*member)(); };
}

Run inTransferMode(const Run& deed) {
  return [deed](Rig& rig) { return transferMode(rig) && deed(rig); };
}

}  // namespace

Json example(const std::string& name) {
  const std::ifstream file(std::string(BX_SOURCE_DIR) + "/examples/" + name);
  Json document;
  if (!file || !document.parseString((std::ostringstream() << file.rdbuf()).str())) {
    throw std::runtime_error("cannot read examples/" + name);
  }
  return document;
}

Json fieldMode() {
  Json document(MORVA::JSONType::Object);
  MORVA::setBoolean(document, "isInFieldMode", true);
  return document;
}

const std::vector<Exchange>& exchanges() {
  static const std::vector<Exchange> all{
      {"startup", FrameKind::Startup, freshSession, [](Rig& rig) { return rig.com().sendStartupCommand(); }},
      {"mode", FrameKind::Mode, freshSession,
       [](Rig& rig) { return rig.device.setDeviceMode(BXSerialCom::INFORMATION, false); }, nothing, modeUnchanged},
      {"information", FrameKind::Information, withoutSettings, run(&BXDevice::setupDeviceSettings), settings},
      {"frame read", FrameKind::FrameRead, withoutSettings, run(&BXDevice::getParameterSetFrames), settings,
       [](Rig& rig) { return settings(rig) == "{}" ? "" : "settings of frames that were not all read"; }},
      {"frame write", FrameKind::FrameWrite, withSettings, run(&BXDevice::setParameterSetFrames)},
      {"ring upload", FrameKind::RingUpload, transferMode, uploadRing},
      {"ring download", FrameKind::RingDownload, inTransferMode(uploadRing),
       [](Rig& rig) { return rig.device.downloadRingTarget(1); }, targets},
      {"silhouette upload", FrameKind::SilhouetteUpload, transferMode, uploadSilhouette},
      {"silhouette download", FrameKind::SilhouetteDownload, inTransferMode(uploadSilhouette),
       [](Rig& rig) { return rig.device.downloadSilhouetteTarget(0); }, targets},
      {"stored page", FrameKind::Page, transferMode, download, records, afterDownload},
      {"clear", FrameKind::Clear, transferMode, run(&BXDevice::clearTrainingDataOnDevice), records},
      {"stream start", FrameKind::Mode, freshSession, startStream, nothing, afterStream},
      {"stream", FrameKind::Stream, freshSession, stream, gapOf, afterStream},
      {"stream stop", FrameKind::Mode, startedStream, stopStream, gapOf, afterStream},
  };
  return all;
}

sim::Options deviceOptions() {
  static const std::vector<sim::Bytes> payloads = [] {
    std::vector<sim::Bytes> all;
    for (std::size_t i = 0; i < streamLength; ++i) all.push_back(measurement(i));
    return all;
  }();
  constexpr std::size_t recordsPerPage = 9;  // more than the window of the link
  sim::Options options;
  options.stream = payloads;
  options.rate = streamRate;
  for (std::uint8_t block = 0; block < 2; ++block) {
    for (std::uint8_t page = 0; page < 3; ++page) {
      for (std::size_t i = 0; i < recordsPerPage; ++i) {
        options.stored.push_back({block, page, measurement(options.stored.size())});
      }
    }
  }
  return options;
}

}  // namespace BX::faults
