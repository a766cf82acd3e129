#include <algorithm>

#include "bx/BXDevice.h"
#include "bx/DocumentKeys.h"
#include "download/StoredResultsWire.h"
#include "platform/AtExit.h"
#include "platform/DebugLog.h"
#include "platform/Exchange.h"
#include "records/RecordFormat.h"

namespace BX {

namespace shot = records::shot;

namespace {

// Asks for a page or a clear; `handler` gets the records and the closing answer.
bool requestPage(BXSerialCom& link, std::uint8_t block, std::uint8_t page, const std::function<void()>& handler) {
  auto request = download::pageRequest(block, page);
  wire::seal(link, request);
  return link.sendDownloadRequest(request, handler);
}

}  // namespace

void BXDevice::sendDownloadFrame() {
  ringTargets.clear();
  silhouetteTargets.clear();
  log("SENDDLFRAME: ");
  downloadingTrainingData = true;
  const platform::AtExit finish([this] { downloadFinished(); });
  clearTrainingFrames();
  storedResultPages.clear();
  setDownloadProgress({});

  log("SENDDLFRAME: devuce info stored results");
  const auto pageTableHandler = [this] { processDownloadTrainingData(); };
  if (!serialCom.sendDeviceInfoCommand(BXSerialCom::DEVICE_INFO_STORED_RESULTS, pageTableHandler)) return;

  log("SENDDLFRAME: page results");
  if (!downloadPages()) return;
  log("SENDDLFRAME: download accepted");

  if (!downloadStoredTargets()) return;
  decodeStoredRecords();
  log("COMPLETED FRAMES!!!");
}

bool BXDevice::downloadPages() {
  DownloadProgress now;
  for (const auto& entry : storedResultPages) now.pages += entry[1];
  setDownloadProgress(now);
  for (const auto& entry : storedResultPages) {
    for (std::uint8_t page = 0; page < entry[1]; ++page) {
      if (!requestPage(serialCom, entry[0], page, [this] { processStoredData(); })) return false;
      ++now.pagesDone;
      setDownloadProgress(now);
    }
  }
  return true;
}

BXDevice::DownloadProgress BXDevice::downloadProgress() const {
  const boost::unique_lock<boost::mutex> lock(trainingFramesMutex);
  return progress;
}

void BXDevice::setDownloadProgress(const DownloadProgress& now) {
  const boost::unique_lock<boost::mutex> lock(trainingFramesMutex);
  progress = now;
}

bool BXDevice::downloadStoredTargets() {
  return std::all_of(storedShotFrames.begin(), storedShotFrames.end(),
                     [this](const Bytes& frame) { return downloadTargetsOf(frame); });
}

bool BXDevice::downloadTargetsOf(const Bytes& shotFrame) {
  log("SHOT");
  const std::int32_t ringNumber = shotFrame[shot::ringTargetOffset];
  if (ringNumber < noTarget && !ringTargets.contains(ringNumber)) {
    log("RING FOUND!");
    currentRingTargetNumber = ringNumber;
    if (!downloadRingTarget(ringNumber)) {
      log("Failed to download Ring");
      return false;
    }
  }
  const std::int32_t silhouetteNumber = shotFrame[shot::silhouetteTargetOffset];
  if (silhouetteNumber < noTarget && !silhouetteTargets.contains(silhouetteNumber)) {
    log("SIL FOUND!");
    currentSilhouetteTargetNumber = silhouetteNumber;
    if (!downloadSilhouetteTarget(silhouetteNumber)) {
      log("Failed to download Silhouette");
      return false;
    }
  }
  return true;
}

void BXDevice::decodeStoredRecords() {
  std::vector<Json> decoded;
  decoded.reserve(storedDataFrames.size());
  for (const auto& frame : storedDataFrames) {
    switch (records::kindOf(frame)) {
      case records::RecordKind::Measurement:
        decoded.push_back(processMeasurementData(frame));
        break;
      case records::RecordKind::Shot:
        decoded.push_back(processShotData(frame));
        break;
      case records::RecordKind::Other:
        break;
    }
  }
  const boost::unique_lock<boost::mutex> lock(trainingFramesMutex);
  trainingFrames.swap(decoded);
  receivedFrames += trainingFrames.size();
}

void BXDevice::processDownloadTrainingData() {
  const auto bytes = serialCom.getReceivedBytes();
  if (download::isWholePageTable(bytes)) {
    download::appendPages(bytes, storedResultPages);
  } else {
    log("SENDDLFRAME: no page table");
  }
  serialCom.setReadyToSend(true);
}

void BXDevice::downloadFinished() {
  storedShotFrames.clear();
  storedDataFrames.clear();
  storedResultPages.clear();
  downloadingTrainingData = false;
}

bool BXDevice::clearTrainingDataOnDevice() {
  const auto forget = [this] {
    clearTrainingFrames();
    storedResultPages.clear();
  };
  log("Clear Training DAta");
  forget();
  log("SENDDLFRAME: devuce info stored results");
  const std::function<void()> handler = [this] { processStoredData(); };
  log("CLEAR: Start Page Results");
  for (std::uint8_t block = 0; block < download::blocksCleared; ++block) {
    if (!requestPage(serialCom, block, download::clearBlock, handler)) {
      forget();
      return false;
    }
  }
  log("CLEAR: WAITING ON PAGE RESULTS");
  forget();
  return true;
}

}  // namespace BX
