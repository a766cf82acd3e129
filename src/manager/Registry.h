// The devices of a manager by the name of their port, and how an operation has one of them to itself.
#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "bx/BXDeviceManager.h"
#include "platform/Mutex.h"

namespace BX {

struct BXDeviceManager::Entry {
  explicit Entry(const BXDevice& source) : device(source) {}

  std::mutex operation;   // held by the operation that uses the device
  std::mutex connecting;  // held by the thread that connects it, before `operation` and never waited for
  platform::Mutex records;
  bool recordsInUse GUARDED_BY(records) = false;
  std::atomic<unsigned> starts{0};  // of a training, counted
  BXDevice device;
};

// As long as one lives, the records of a device are those of an operation, which holds its lock: nobody else takes
// them.
class BXDeviceManager::RecordsInUse {
 public:
  explicit RecordsInUse(Entry& entry) : entry_(entry) { set(true); }
  ~RecordsInUse() { set(false); }
  RecordsInUse(const RecordsInUse&) = delete;
  RecordsInUse& operator=(const RecordsInUse&) = delete;

 private:
  void set(bool inUse) {
    const platform::MutexLock lock(entry_.records);
    entry_.recordsInUse = inUse;
  }

  Entry& entry_;
};

// The device that an operation has to itself. It stays alive meanwhile, even when it is removed from the registry, and
// is let go after the lock: no device is ever destroyed under one.
class BXDeviceManager::LockedDevice {
 public:
  LockedDevice() = default;
  LockedDevice(std::shared_ptr<Entry> entry, std::unique_lock<std::mutex> lock)
      : entry_(std::move(entry)), lock_(std::move(lock)) {}

  explicit operator bool() const { return entry_ != nullptr; }
  BXDevice& operator*() const { return entry_->device; }
  BXDevice* operator->() const { return &entry_->device; }
  Entry& entry() const { return *entry_; }
  bool owns() const { return lock_.owns_lock(); }
  // Lets other operations in; the device stays alive.
  void unlock() { lock_.unlock(); }

 private:
  std::shared_ptr<Entry> entry_;
  std::unique_lock<std::mutex> lock_;
};

// Begins to connect a device. A stream handler of a port that was hung up may still run, and call the manager: it is
// waited for here, before it could wait for the operation. When another thread connects the device, that one has
// waited.
class BXDeviceManager::Connector {
 public:
  explicit Connector(std::shared_ptr<Entry> entry) : entry_(std::move(entry)) {
    if (!entry_) return;
    lock_ = std::unique_lock(entry_->connecting, std::try_to_lock);
    BXSerialCom& link = entry_->device.getSerialCom();
    if (lock_ && !link.isConnected()) link.closePort();
  }

 private:
  std::shared_ptr<Entry> entry_;
  std::unique_lock<std::mutex> lock_;
};

// Its lock is held for look-ups and changes alone: never while an exchange is made or a device destroyed, since that
// waits for the device's listening thread, which may be retiring it. No member destroys a device that it removes; its
// caller does.
class BXDeviceManager::Registry {
 public:
  using Shared = std::shared_ptr<Entry>;
  using Devices = std::map<std::string, Shared>;

  Registry() = default;
  explicit Registry(Devices devices) : registered_(std::move(devices)) {}

  // Null when there is none.
  Shared find(const std::string& port) const EXCLUDES(mutex_);
  // Calls `see` with the registered device, or with the one that has hung up last and true. Under the lock, since who
  // only looks must not come to be the one to destroy it: `see` waits for nothing.
  void look(const std::string& port, const std::function<void(Entry&, bool)>& see) const EXCLUDES(mutex_);
  std::vector<std::string> ports() const EXCLUDES(mutex_);
  // Waits for the operation under way on that port, if there is one.
  LockedDevice lock(const std::string& port) const EXCLUDES(mutex_);
  // Copies that are not connected.
  Devices copy() const EXCLUDES(mutex_);

  // False when the port is registered. Else what had hung up on it comes back in `retired`.
  bool add(const std::string& port, const Shared& entry, Shared& retired) EXCLUDES(mutex_);
  // What was removed: the device of `port`, but no other one than `only`, if given.
  Shared remove(const std::string& port, const Entry* only = nullptr) EXCLUDES(mutex_);
  // Keeps a device that has hung up for the references that the host may hold; allocates nothing. False when it is
  // registered no longer.
  bool retire(const std::string& port, const Entry& entry) EXCLUDES(mutex_);
  struct Contents {
    Devices registered;
    Devices retired;
  };
  // What was there before.
  Contents replace(Devices devices) EXCLUDES(mutex_);
  // What has hung up.
  Devices removeRetired() EXCLUDES(mutex_);

 private:
  Shared findLocked(const std::string& port) const REQUIRES(mutex_);

  mutable platform::Mutex mutex_;
  Devices registered_ GUARDED_BY(mutex_);
  Devices retired_ GUARDED_BY(mutex_);  // removed by their own listening threads; none of a registered port
};

}  // namespace BX
