#include <utility>

#include "bx/BXDevice.h"
#include "bx/DocumentKeys.h"
#include "morva/KeyedAccess.h"
#include "platform/DebugLog.h"
#include "platform/Exchange.h"
#include "targets/SilhouetteCodec.h"

namespace BX {

namespace silhouette = targets::silhouette;
namespace reply = targets::reply;

bool BXDevice::downloadSilhouetteTarget(const int& number) {
  const auto ask = [this](std::int32_t slot, int part) {
    const auto index = platform::lowByte(part);
    const auto request = targets::downloadRequest(wire::letter::silhouetteRequest, slot, index);
    return countSilhouette(wire::requestTarget(serialCom, request));
  };
  beginSilhouette(silhouette::partsBeforeRows + bitmapRows);
  serialCom.setCallBackFunction([this] { processTargetDownload(); });
  log("SIL - REQUEST CHUNK 1 - settings");
  if (!ask(number, silhouette::settingsPart)) return false;
  log("SIL - REQUEST CHUNK 2 - name");
  if (!ask(number, silhouette::namePart)) return false;
  log("SIL - REQUEST CHUNK 3 - bitmap");
  for (int row = 0; row < bitmapRows; ++row) {
    if (!ask(silhouette::rowSlot, row)) return false;
  }
  setText(silhouetteTargets[number], key::target::targetType, text::silhouette);
  return true;
}

void BXDevice::processSilhouetteTarget(const Bytes& bytes) {
  if (!silhouette::isWhole(bytes)) {
    log("process silhouette target - reply too short");
    return;
  }
  const std::int32_t number = bytes[reply::numberOffset];
  switch (silhouette::kindOf(bytes)) {
    case silhouette::Reply::Settings: {
      Json document(MORVA::JSONType::Object);
      setInteger(document, key::silhouette::silhouetteTargetNumber, number);
      // The echoed index, not the control byte that the device has stored: a target comes back as metric.
      processSilhouetteControlByte1(bytes[reply::indexOffset], document);
      nominalDistance = silhouette::distanceOf(bytes);
      log("process silhouette target - distance:");
      log(std::to_string(nominalDistance));
      silhouette::writeSettings(bytes, document);
      silhouetteTargets.try_emplace(number, std::move(document));  // a target that is there already stays as it is
      break;
    }
    case silhouette::Reply::Name:
      setText(silhouetteTargets[number], key::target::targetName, targets::nameOf(bytes));
      break;
    case silhouette::Reply::Row:
      silhouette::appendRow(bytes, silhouetteTargets[silhouette::rowTargetOf(bytes)]);
      break;
  }
}

void BXDevice::processSilhouetteControlByte1(const unsigned char& byte, Json& document) {
  silhouette::writeUnits(byte, document);
  distanceUnit = MORVA::getText(document, key::target::distanceUnit);
  log(distanceUnit == text::meters ? "process silhouette control byte 1 - meters - distance:"
                                   : "process silhouette control byte 1 - yards - distance:");
}

}  // namespace BX
