// The registry itself. Its lock is held for look-ups and changes of the map only: never while a device is used, and
// never while one is destroyed, since that waits for the device's listening thread, which may be removing it.
#include <stdexcept>
#include <utility>

#include "manager/Entry.h"

namespace BX {

BXDeviceManager::BXDeviceManager() = default;

BXDeviceManager::BXDeviceManager(const BXDeviceManager& other) : devices(other.copyDevices()) {}

BXDeviceManager& BXDeviceManager::operator=(const BXDeviceManager& other) {
  if (this == &other) return *this;
  Devices copies = other.copyDevices();
  Devices retired;
  const std::lock_guard lock(registryMutex);
  devices.swap(copies);
  retired.swap(hungUp);
  return *this;
}

BXDeviceManager::~BXDeviceManager() {
  Devices registered;
  Devices retired;
  {
    const std::lock_guard lock(registryMutex);
    registered.swap(devices);
    retired.swap(hungUp);
  }
}

bool BXDeviceManager::addDevice(const std::string& port, const std::string& deviceName) try {
  if (find(port)) return false;
  BXDevice device;
  device.setDevicePort(port);
  device.deviceName = deviceName;  // the copy that is kept drops it
  const auto entry = std::make_shared<Entry>(device);
  std::shared_ptr<Entry> retired;
  const std::lock_guard lock(registryMutex);
  if (!devices.try_emplace(port, entry).second) return false;
  if (auto node = hungUp.extract(port)) retired = std::move(node.mapped());
  return true;
} catch (...) {
  return false;
}

BXDevice& BXDeviceManager::getDevice(const std::string& port) {
  const auto entry = find(port);
  if (!entry) throw std::out_of_range("no device on port " + port);
  return entry->device;
}

bool BXDeviceManager::removeDevice(const std::string& port) {
  const auto entry = extract(port);
  if (!entry) return false;
  release(*entry);
  return true;
}

bool BXDeviceManager::internalRemoveDevice(const char* port) try { return removeDevice(port); } catch (...) {
  return false;
}

// Runs on the listening thread of `own`, whose destructor waits for that: it is alive without being held here, and is
// never destroyed by this thread.
bool BXDeviceManager::retireDevice(const std::string& port, Entry& own) try {
  {
    const std::lock_guard lock(registryMutex);
    const auto found = devices.find(port);
    if (found == devices.end() || found->second.get() != &own) return false;
    hungUp.insert_or_assign(port, found->second);
    devices.erase(found);
  }
  release(own);
  return true;
} catch (...) {
  return false;
}

// When an operation on another thread uses the device, closing the port makes it fail at once.
void BXDeviceManager::release(Entry& entry) {
  const std::unique_lock turn(entry.busy, std::try_to_lock);
  if (turn.owns_lock()) {
    entry.device.disconnectDevice();
  } else {
    entry.device.getSerialCom().closePort();
  }
}

std::shared_ptr<BXDeviceManager::Entry> BXDeviceManager::find(const std::string& port) const {
  const std::lock_guard lock(registryMutex);
  const auto found = devices.find(port);
  return found == devices.end() ? nullptr : found->second;
}

BXDeviceManager::Turn BXDeviceManager::take(const std::string& port) const {
  while (auto entry = find(port)) {
    std::unique_lock lock(entry->busy);
    if (find(port) == entry) return {std::move(entry), std::move(lock)};  // it may have been removed meanwhile
  }
  return {};
}

std::shared_ptr<BXDeviceManager::Entry> BXDeviceManager::extract(const std::string& port, const Entry* own) {
  const std::lock_guard lock(registryMutex);
  const auto found = devices.find(port);
  if (found == devices.end() || (own != nullptr && found->second.get() != own)) return nullptr;
  return std::move(devices.extract(found).mapped());
}

std::vector<std::string> BXDeviceManager::ports() const {
  std::vector<std::string> names;
  const std::lock_guard lock(registryMutex);
  names.reserve(devices.size());
  for (const auto& [port, entry] : devices) names.push_back(port);
  return names;
}

BXDeviceManager::Devices BXDeviceManager::copyDevices() const {
  Devices copies;
  for (const auto& port : ports()) {
    if (const Turn device = take(port)) copies.emplace(port, std::make_shared<Entry>(*device));
  }
  return copies;
}

}  // namespace BX
