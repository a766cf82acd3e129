// Adding, copying and removing devices. A device is removed in two steps: its port is closed, which ends the operation
// that another thread may have under way, and then its entry goes. Neither waits for that operation. The last
// owner of the entry destroys the device.
#include "bx/BXDeviceManager.h"

#include <iostream>
#include <limits>
#include <stdexcept>
#include <utility>

#include "manager/Registry.h"

namespace BX {

BXDeviceManager::BXDeviceManager() : registry(std::make_unique<Registry>()) {}

BXDeviceManager::BXDeviceManager(const BXDeviceManager& other)
    : registry(std::make_unique<Registry>(other.registry->copy())) {}

BXDeviceManager& BXDeviceManager::operator=(const BXDeviceManager& other) {
  if (this != &other) registry->replace(other.registry->copy());
  return *this;
}

// The registry outlives its devices, which may be retiring.
BXDeviceManager::~BXDeviceManager() { registry->replace({}); }

bool BXDeviceManager::addDevice(const std::string& port, const std::string& deviceName) try {
  if (registry->find(port)) return false;
  BXDevice device;
  device.setDevicePort(port);
  device.deviceName = deviceName;  // the copy that is kept drops it
  std::shared_ptr<Entry> retired;
  return registry->add(port, std::make_shared<Entry>(device), retired);
} catch (...) {
  return false;
}

BXDevice& BXDeviceManager::getDevice(const std::string& port) {
  const auto entry = registry->find(port);
  if (!entry) throw std::out_of_range("no device on port " + port);
  return entry->device;
}

std::shared_ptr<BXDevice> BXDeviceManager::shareDevice(const std::string& port) const {
  auto entry = registry->find(port);
  BXDevice* const device = entry ? &entry->device : nullptr;
  return {std::move(entry), device};
}

std::vector<std::string> BXDeviceManager::getPorts() const { return registry->ports(); }

std::optional<BXDeviceManager::DeviceState> BXDeviceManager::getDeviceState(const std::string& port) const {
  std::optional<DeviceState> state;
  registry->look(port, [&state](Entry& entry, bool hungUp) {
    state = {.hungUp = hungUp,
             .connected = entry.device.getSerialCom().isConnected(),
             .streaming = entry.device.getSerialCom().getStreaming(),
             .downloading = entry.device.isDownloading(),
             .error = entry.device.hasError(),
             .recordsWaiting = entry.device.trainingFrameCount(),
             .recordsReceived = entry.device.receivedFrameCount(),
             .progress = entry.device.downloadProgress()};
  });
  return state;
}

bool BXDeviceManager::removeDevice(const std::string& port) {
  const auto entry = registry->find(port);
  return entry && remove(port, *entry);
}

// False when another thread is removing it. An operation, or a hang-up, may have taken it out meanwhile.
bool BXDeviceManager::remove(const std::string& port, Entry& entry) {
  if (entry.device.removing.exchange(true)) return false;
  try {
    entry.device.getSerialCom().closePort();
  } catch (...) {
    entry.device.removing = false;
    throw;
  }
  registry->remove(port, &entry);
  return true;
}

bool BXDeviceManager::internalRemoveDevice(const char* port) try { return removeDevice(port); } catch (...) {
  return false;
}

void BXDeviceManager::disconnectDevice(const std::string& port) { removeDevice(port); }

void BXDeviceManager::disconnectDevices() {
  std::vector<std::shared_ptr<Entry>> removed;  // destroyed at the end, all of them
  for (const auto& port : registry->ports()) {
    const auto entry = registry->find(port);
    if (!entry) continue;
    removed.push_back(entry);
    std::cout << "Disconnecting device on port: " << port << std::endl;
    remove(port, *entry);
  }
  registry->removeRetired();
}

std::vector<BXDeviceManager::Json> BXDeviceManager::takeTrainingFrames(const std::string& port) {
  return takeTrainingFrames(port, std::numeric_limits<std::size_t>::max());
}

std::vector<BXDeviceManager::Json> BXDeviceManager::takeTrainingFrames(const std::string& port, std::size_t most) {
  std::vector<Json> taken;
  registry->look(port, [&taken, most](Entry& entry, bool) {
    const platform::MutexLock lock(entry.records);
    if (!entry.recordsInUse) taken = entry.device.takeTrainingFrames(most);
  });
  return taken;
}

// Runs on the listening thread of `own`, whose destructor waits for that: it is alive without being held here, and is
// never destroyed by this thread. The host may use the device, or copy it, at the same time.
bool BXDeviceManager::retireDevice(const std::string& port, Entry& own) try {
  if (!registry->retire(port, own)) return false;
  own.device.getSerialCom().closePort();
  return true;
} catch (...) {
  return false;
}

}  // namespace BX
