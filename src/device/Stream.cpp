// The training stream: starting and stopping it, and the records that it brings.
#include <iterator>
#include <utility>

#include "bx/BXDevice.h"
#include "bx/DocumentKeys.h"
#include "morva/KeyedAccess.h"
#include "platform/DebugLog.h"
#include "platform/Wire.h"
#include "platform/time/TimeSeam.h"
#include "records/RecordFormat.h"

namespace BX {

void BXDevice::startThread() {
  log("START THREAD!!!");
  clearTrainingFrames();
  const bool fieldMode = getBoolean(sessionSettings, key::session::isInFieldMode);
  if (!fieldMode) log("CLASSIC STREAM");
  setDeviceMode(fieldMode ? BXSerialCom::FIELD_STREAM : BXSerialCom::CLASSIC_STREAM, false);
  log("STREAM CALLBACK SET");
  serialCom.setProcessTrainingCallback([this] { processTrainingData(); });
  log("RESET AIM TIMER");
  {
    const boost::unique_lock<boost::mutex> lock(trainingFramesMutex);  // a stream may run already
    aimTimerStart = platform::tick();
  }
  serialCom.startSessionListening();
}

void BXDevice::stopThread() { serialCom.setRunning(false); }

// Runs on the listening thread.
void BXDevice::processTrainingData() {
  const Bytes bytes = serialCom.getReceivedBytes();
  if (!bytes.empty() && bytes[0] == wire::replyMark) {
    serialCom.setStreaming(false);
    serialCom.setClearBuffer(false);
    serialCom.setRunning(false);
    serialCom.setReadyToSend(true);
    serialCom.setWaitingForAck(false);
    return;
  }
  const boost::unique_lock<boost::mutex> lock(trainingFramesMutex);
  trainingFrames.push_back(processRecord(bytes));
  ++receivedFrames;
}

// Empty for what is no record, or too short for one.
BXDevice::Json BXDevice::processRecord(const Bytes& bytes) {
  const records::RecordKind kind = records::kindOf(bytes);
  if (kind == records::RecordKind::Measurement) log("PROCESS MEASUREMENT");
  if (kind == records::RecordKind::Shot) log("PROCESS SHOT DATA");
  if (!records::isDecodable(bytes)) return Json(MORVA::JSONType::Object);
  return kind == records::RecordKind::Shot ? processShotData(bytes) : processMeasurementData(bytes);
}

void BXDevice::poll() {
  serialCom.setCallBackFunction([this] { processPoll(); });
  serialCom.poll();
}

void BXDevice::processPoll() {
  serialCom.getReceivedBytes();  // nothing in the answer matters
  serialCom.setReadyToSend(true);
}

std::vector<BXDevice::Json> BXDevice::getTrainingFrames() {
  const boost::unique_lock<boost::mutex> lock(trainingFramesMutex);
  if (serialCom.getStreaming()) return std::exchange(trainingFrames, {});
  return trainingFrames;
}

std::vector<BXDevice::Json> BXDevice::takeTrainingFrames() {
  const boost::unique_lock<boost::mutex> lock(trainingFramesMutex);
  return std::exchange(trainingFrames, {});
}

std::vector<BXDevice::Json> BXDevice::takeTrainingFrames(std::size_t most) {
  const boost::unique_lock<boost::mutex> lock(trainingFramesMutex);
  if (trainingFrames.size() <= most) return std::exchange(trainingFrames, {});
  const auto end = trainingFrames.begin() + static_cast<std::ptrdiff_t>(most);
  std::vector<Json> first(std::make_move_iterator(trainingFrames.begin()), std::make_move_iterator(end));
  trainingFrames.erase(trainingFrames.begin(), end);
  return first;
}

std::size_t BXDevice::trainingFrameCount() const {
  const boost::unique_lock<boost::mutex> lock(trainingFramesMutex);
  return trainingFrames.size();
}

std::uint64_t BXDevice::receivedFrameCount() const {
  const boost::unique_lock<boost::mutex> lock(trainingFramesMutex);
  return receivedFrames;
}

void BXDevice::clearTrainingFrames() {
  std::vector<Json> dropped;  // thousands of records are destroyed without the lock
  const boost::unique_lock<boost::mutex> lock(trainingFramesMutex);
  dropped.swap(trainingFrames);
}

}  // namespace BX
