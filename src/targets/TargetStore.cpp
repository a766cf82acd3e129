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

BXDevice::SilhouetteProgress BXDevice::silhouetteProgress() const {
  const boost::unique_lock<boost::mutex> lock(trainingFramesMutex);
  return silhouetteTransfer;
}

void BXDevice::beginSilhouette(std::size_t exchanges) {
  const boost::unique_lock<boost::mutex> lock(trainingFramesMutex);
  silhouetteTransfer = {.exchangesDone = 0, .exchanges = exchanges};
}

// Gives `succeeded` on.
bool BXDevice::countSilhouette(bool succeeded) {
  const boost::unique_lock<boost::mutex> lock(trainingFramesMutex);
  if (succeeded) ++silhouetteTransfer.exchangesDone;
  return succeeded;
}

}  // namespace BX
