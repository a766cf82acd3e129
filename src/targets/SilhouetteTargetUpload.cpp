#include <utility>

#include "bx/BXDevice.h"
#include "bx/DocumentKeys.h"
#include "morva/KeyedAccess.h"
#include "platform/DebugLog.h"
#include "platform/Exchange.h"
#include "targets/SilhouetteCodec.h"

namespace BX {

namespace silhouette = targets::silhouette;

namespace {

void logValue(const char* label, std::int64_t value) {
  log(label);
  log(std::to_string(value));
}

std::size_t rowCount(const MORVA::MORVADataTypeJSON& document) {
  const auto* rows = silhouette::rowsOf(document);
  return rows == nullptr ? 0 : rows->Size();
}

}  // namespace

bool BXDevice::uploadSilhouetteTarget(Json& document) {
  const auto settings = silhouette::readSettings(document);
  logValue("Target Distance:", settings.wireDistance());
  logValue("Target Width:", settings.targetWidth);
  logValue("Target Height:", settings.targetHeight);
  logValue("Target Size:", settings.wireSize());

  // What the device is told of next stands here even when it refuses it.
  silhouetteTargets[settings.number] = document;
  numberOfPrisms = getInteger(document, key::target::numberOfPrisms);
  logValue("Number of Prisms:", numberOfPrisms);
  nominalDistance = settings.nominalDistance;
  logValue("set nom distance in upload sil target:", nominalDistance);
  currentSilhouetteTargetNumber = settings.number;

  const auto control = createSilhouetteControlByte1(document);
  logValue("PX:", settings.prismPlaceX);
  logValue("PY:", settings.prismPlaceY);
  const auto send = [this](Bytes frame) {
    return countSilhouette(wire::sendForAcknowledgement(serialCom, std::move(frame)));
  };
  const auto rows = rowCount(document);
  beginSilhouette(silhouette::partsBeforeRows + rows);
  if (!send(silhouette::settingsFrame(settings, control))) return false;
  if (!send(silhouette::nameFrame(document, settings.number))) return false;
  for (rapidjson::SizeType i = 0; i < rows; ++i) {
    if (!send(silhouette::rowFrame((*silhouette::rowsOf(document))[i], settings.number, i))) return false;
  }
  return true;
}

unsigned char BXDevice::createSilhouetteControlByte1(Json& document) {
  const auto metres = targets::isMetres(document);
  distanceUnit = metres ? text::meters : text::yards;
  logValue(metres ? "create silhouette control byte 1 - meter - distance:"
                  : "create silhouette control byte 1 - yard - distance:",
           nominalDistance);
  log(targets::isMillimetres(document, key::target::sizeUnit)
          ? "create silhouette control byte 1 bit 6 - mm - distance:"
          : "create silhouette control byte 1 bit 6 - yd - distance:");
  return silhouette::controlByte1(document);
}

unsigned char BXDevice::createSilhouetteControlByte2(Json&) { return silhouette::controlByte2; }

}  // namespace BX
