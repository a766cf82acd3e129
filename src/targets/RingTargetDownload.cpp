#include <utility>

#include "bx/BXDevice.h"
#include "bx/DocumentKeys.h"
#include "morva/KeyedAccess.h"
#include "platform/AtExit.h"
#include "platform/DebugLog.h"
#include "platform/Exchange.h"
#include "targets/RingCodec.h"

namespace BX {

namespace ring = targets::ring;
namespace reply = targets::reply;

namespace {

void logScale(const MORVA::MORVADataTypeJSON& document) {
  log("processRingTarget... TARGET CONVERSION:");
  log(std::to_string(ring::decodingScale(document)));
}

}  // namespace

bool BXDevice::downloadRingTarget(const int& number) {
  downloadingTarget = true;
  const platform::AtExit finish([this] { downloadingTarget = false; });
  serialCom.setCallBackFunction([this] { processTargetDownload(); });
  for (const auto part : ring::parts) {
    const auto request = targets::downloadRequest(wire::letter::ringRequest, number, part);
    if (!wire::requestTarget(serialCom, request)) return false;
  }
  setText(ringTargets[number], key::target::targetType, text::ring);
  return true;
}

void BXDevice::processTargetDownload() {
  const auto bytes = serialCom.getReceivedBytes();
  if (wire::isReply(bytes, wire::letter::ringRequest)) {
    processRingTarget(bytes);
  } else if (wire::isReply(bytes, wire::letter::silhouetteRequest)) {
    processSilhouetteTarget(bytes);
  }
  serialCom.setReadyToSend(true);
}

void BXDevice::processRingTarget(const Bytes& bytes) {
  if (!ring::isWhole(bytes)) {
    log("process ring target - reply too short");
    return;
  }
  const std::int32_t number = bytes[reply::numberOffset];
  switch (bytes[reply::indexOffset]) {
    case ring::headerPart: {
      Json document(MORVA::JSONType::Object);
      setInteger(document, key::ring::ringTargetNumber, number);
      processRingControlByte1(bytes[reply::contentOffset], document);
      logScale(document);
      nominalDistance = ring::distanceOf(bytes);
      log("process ring target - distance");
      log(std::to_string(nominalDistance));
      ring::writeHeader(bytes, document);
      ringTargets.try_emplace(number, std::move(document));  // a target that is there already stays as it is
      break;
    }
    case ring::innerPart:
    case ring::outerPart: {
      auto& document = ringTargets[number];
      logScale(document);
      ring::writeDiameters(bytes, document);
      break;
    }
    case ring::namePart:
      setText(ringTargets[number], key::target::targetName, targets::nameOf(bytes));
      break;
    default:
      break;
  }
}

void BXDevice::processRingControlByte1(const unsigned char& byte, Json& document) {
  ring::writeUnits(byte, document);
  distanceUnit = MORVA::getText(document, key::target::distanceUnit);
  log(distanceUnit == text::meters ? "process ring control byte 1 - meters - distance:"
                                   : "process ring control byte 1 - yards - distance:");
}

}  // namespace BX
