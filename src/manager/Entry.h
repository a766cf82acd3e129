// What the registry keeps for a port, and how an operation takes its turn on it.
#pragma once

#include <memory>
#include <mutex>
#include <utility>

#include "bx/BXDeviceManager.h"

namespace BX {

struct BXDeviceManager::Entry {
  explicit Entry(const BXDevice& source) : device(source) {}

  std::mutex busy;  // held by the operation that uses the device; the registry's lock is never taken for that long
  BXDevice device;
};

// An entry in use. The entry stays alive meanwhile, even when it is removed from the registry; it is let go after the
// lock, so that a device is never destroyed under one.
class BXDeviceManager::Turn {
 public:
  Turn() = default;
  Turn(std::shared_ptr<Entry> entry, std::unique_lock<std::mutex> lock)
      : entry_(std::move(entry)), lock_(std::move(lock)) {}

  explicit operator bool() const { return entry_ != nullptr; }
  BXDevice& operator*() const { return entry_->device; }
  BXDevice* operator->() const { return &entry_->device; }
  Entry* entry() const { return entry_.get(); }

 private:
  std::shared_ptr<Entry> entry_;
  std::unique_lock<std::mutex> lock_;
};

}  // namespace BX
