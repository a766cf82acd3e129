#include "bx/BXDevice.h"
#include "bx/DocumentKeys.h"
#include "morva/KeyedAccess.h"
#include "platform/DebugLog.h"
#include "platform/Exchange.h"
#include "targets/RingCodec.h"

namespace BX {

namespace ring = targets::ring;

bool BXDevice::uploadRingTarget(Json& document) {
  log("UPLOAD RING TARGETS... TARGET CONVERSION:");
  log(std::to_string(ring::unitFactor(document)));
  const auto header = ring::readHeader(document);

  // What the device is told of next stands here even when it refuses it.
  nominalDistance = header.nominalDistance;
  ringTargets[header.number] = document;
  numberOfPrisms = getInteger(document, key::target::numberOfPrisms);
  currentRingTargetNumber = header.number;

  const auto frame = ring::headerFrame(header, createRingControlByte1(document));
  log("CALCULATE SUM");
  log(std::to_string(serialCom.calculateSum(frame)));
  log("Upload Ring Target Frame 0");
  if (!wire::sendForAcknowledgement(serialCom, frame)) return false;
  log("Upload Ring Target Frame 0 - Success");

  log("Upload Ring Target Frame 1");
  if (!wire::sendForAcknowledgement(serialCom, ring::diameterFrame(document, header.number, ring::innerPart)))
    return false;
  log("Upload Ring Target Frame 1 - Success");

  log("Upload Ring Target Frame 2");
  if (!wire::sendForAcknowledgement(serialCom, ring::diameterFrame(document, header.number, ring::outerPart)))
    return false;
  log("Upload Ring Target Frame 2 - Success");

  log("Upload Ring Target Frame 3");
  if (!wire::sendForAcknowledgement(serialCom, ring::nameFrame(document, header.number))) return false;
  log("UPLOAD RING COMPLETED");
  return true;
}

unsigned char BXDevice::createRingControlByte1(Json& document) {
  const auto metres = targets::isMetres(document);
  distanceUnit = metres ? text::meters : text::yards;
  log(metres ? "create ring control byte 1 - meters - distance:" : "create ring control byte 1 - yards - distance:");
  log(std::to_string(nominalDistance));
  log(targets::isMillimetres(document, key::ring::caliberUnit) ? "Caliber MM" : "Caliber Inches");
  log(targets::isMillimetres(document, key::target::sizeUnit) ? "Ring Unit MM" : "Ring Unit Inches");
  return ring::controlByte1(document);
}

unsigned char BXDevice::createRingControlByte2(Json&) { return ring::controlByte2; }

}  // namespace BX
