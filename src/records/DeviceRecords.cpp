// The device's share in records: the state that decoding needs and changes, and the intake of stored records.
#include <iostream>

#include "bx/BXDevice.h"
#include "platform/DebugLog.h"
#include "platform/Wire.h"
#include "platform/time/TimeSeam.h"
#include "records/RecordDecoder.h"
#include "records/RecordFormat.h"

namespace BX {

MORVA::MORVADataTypeJSON BXDevice::processShotData(const Bytes& frame) {
  log("process shot data - distance");
  log(std::to_string(nominalDistance));
  if (records::isYards(distanceUnit)) log("process shot data - yds - distance");
  if (currentRingTargetNumber == noTarget) log("Process shot for Sil Dist");
  // The target in use is the one before this shot; what the shot names counts from the next record on.
  records::Shot shot = records::decodeShot(frame, {nominalDistance, distanceUnit, currentRingTargetNumber});
  currentRingTargetNumber = shot.ringTarget;
  currentSilhouetteTargetNumber = shot.silhouetteTarget;

  const std::uint32_t now = platform::tick();
  if (shot.aim.status == 0) {
    shot.aimingTime = platform::ticksBetween(aimTimerStart, now) / 1000.0;
    aimTimerStart = platform::tick();
  } else {
    aimTimerStart = now;
  }

  Json document = records::shotDocument(shot);
  // One text, so that lines of several devices do not mix.
  std::cout << portName + ": " + document.toString() + "\n\n";
  return document;
}

MORVA::MORVADataTypeJSON BXDevice::processMeasurementData(const Bytes& frame) {
  if (currentRingTargetNumber == noTarget && !downloadingTrainingData) log("Process Sample for Sil Dist");
  const records::Aim aim = records::decodeMeasurement(frame, {nominalDistance, distanceUnit, currentRingTargetNumber},
                                                      downloadingTrainingData);
  // A faulty sample restarts the aiming time of the coming shot.
  if (aim.status != 0) aimTimerStart = platform::tick();
  return records::measurementDocument(aim);
}

void BXDevice::processStoredData() {
  log("PROCESS STORED DATA");
  const Bytes bytes = serialCom.getReceivedBytes();
  if (!bytes.empty() && bytes.front() == wire::replyMark) {
    log("AWK - ZOMBIE");
    serialCom.setReadyToSend(true);
    serialCom.setWaitingForAck(false);
    return;
  }
  const records::RecordKind kind = records::kindOf(bytes);
  if (!records::isDecodable(bytes)) {
    if (kind != records::RecordKind::Other || bytes.size() < 2) log("SHORT RECORD DROPPED");
    return;
  }
  if (kind == records::RecordKind::Shot) {
    log("SHOT - ZOMBIE");
    storedShotFrames.push_back(bytes);
  } else {
    log("SAMPLE FRAME - ZOMBIE");
  }
  storedDataFrames.push_back(bytes);
}

}  // namespace BX
