#include "bx/BXDevice.h"
#include "bx/DocumentKeys.h"

namespace BX {

std::vector<BXDevice::Json> BXDevice::getAllTargets() const {
  std::vector<Json> all;
  all.reserve(ringTargets.size() + silhouetteTargets.size());
  for (const auto& [number, document] : ringTargets) all.push_back(document);
  for (const auto& [number, document] : silhouetteTargets) all.push_back(document);
  return all;
}

void BXDevice::setTargetInUse(const std::string& type, std::int32_t number) {
  const bool isRing = type == text::ring;
  const boost::unique_lock<boost::mutex> lock(trainingFramesMutex);  // a stream may run already
  currentRingTargetNumber = isRing ? number : noTarget;
  currentSilhouetteTargetNumber = isRing ? noTarget : number;
}

void BXDevice::clearTargetData() {
  currentRingTargetNumber = noTarget;
  currentSilhouetteTargetNumber = noTarget;
  ringTargets.clear();
  silhouetteTargets.clear();
}

}  // namespace BX
