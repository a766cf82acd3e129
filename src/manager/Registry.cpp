#include "manager/Registry.h"

namespace BX {

using platform::MutexLock;

BXDeviceManager::Registry::Shared BXDeviceManager::Registry::findLocked(const std::string& port) const {
  const auto found = registered_.find(port);
  return found == registered_.end() ? nullptr : found->second;
}

BXDeviceManager::Registry::Shared BXDeviceManager::Registry::find(const std::string& port) const {
  const MutexLock lock(mutex_);
  return findLocked(port);
}

void BXDeviceManager::Registry::look(const std::string& port, const std::function<void(Entry&, bool)>& see) const {
  const MutexLock lock(mutex_);
  for (const Devices* devices : {&registered_, &retired_}) {
    const auto found = devices->find(port);
    if (found != devices->end()) return see(*found->second, devices == &retired_);
  }
}

std::vector<std::string> BXDeviceManager::Registry::ports() const {
  std::vector<std::string> names;
  const MutexLock lock(mutex_);
  names.reserve(registered_.size());
  for (const auto& [port, entry] : registered_) names.push_back(port);
  return names;
}

BXDeviceManager::LockedDevice BXDeviceManager::Registry::lock(const std::string& port) const {
  while (auto entry = find(port)) {
    std::unique_lock operation(entry->operation);
    if (find(port) == entry) return {std::move(entry), std::move(operation)};  // it may have been removed meanwhile
  }
  return {};
}

BXDeviceManager::Registry::Devices BXDeviceManager::Registry::copy() const {
  Devices copies;
  for (const auto& port : ports()) {
    if (const LockedDevice device = lock(port)) copies.emplace(port, std::make_shared<Entry>(*device));
  }
  return copies;
}

bool BXDeviceManager::Registry::add(const std::string& port, const Shared& entry, Shared& retired) {
  const MutexLock lock(mutex_);
  if (!registered_.try_emplace(port, entry).second) return false;
  if (auto node = retired_.extract(port)) retired = std::move(node.mapped());
  return true;
}

BXDeviceManager::Registry::Shared BXDeviceManager::Registry::remove(const std::string& port, const Entry* only) {
  const MutexLock lock(mutex_);
  const auto found = registered_.find(port);
  if (found == registered_.end() || (only != nullptr && found->second.get() != only)) return nullptr;
  return std::move(registered_.extract(found).mapped());
}

bool BXDeviceManager::Registry::retire(const std::string& port, const Entry& entry) {
  const MutexLock lock(mutex_);
  const auto found = registered_.find(port);
  if (found == registered_.end() || found->second.get() != &entry) return false;
  retired_.insert(registered_.extract(found));
  return true;
}

BXDeviceManager::Registry::Contents BXDeviceManager::Registry::replace(Devices devices) {
  const MutexLock lock(mutex_);
  return {std::exchange(registered_, std::move(devices)), std::exchange(retired_, {})};
}

BXDeviceManager::Registry::Devices BXDeviceManager::Registry::removeRetired() {
  const MutexLock lock(mutex_);
  return std::exchange(retired_, {});
}

}  // namespace BX
