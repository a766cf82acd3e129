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

void BXDevice::clearTargetData() {
  currentRingTargetNumber = noTarget;
  currentSilhouetteTargetNumber = noTarget;
  ringTargets.clear();
  silhouetteTargets.clear();
}

}  // namespace BX
