// A mutex and its scoped lock, with the attributes that clang's thread-safety analysis reads. To other compilers the
// attributes are nothing.
#pragma once

#include <mutex>

#if defined(__clang__)
#define BX_THREAD_SAFETY(attribute) __attribute__((attribute))
#else
#define BX_THREAD_SAFETY(attribute)
#endif

// On a member: read and changed with the mutex held.
#define GUARDED_BY(mutex) BX_THREAD_SAFETY(guarded_by(mutex))
// On a function: the caller holds the mutex; the caller must not hold it; the function locks or unlocks it.
#define REQUIRES(...) BX_THREAD_SAFETY(requires_capability(__VA_ARGS__))
#define EXCLUDES(...) BX_THREAD_SAFETY(locks_excluded(__VA_ARGS__))
#define ACQUIRE(...) BX_THREAD_SAFETY(acquire_capability(__VA_ARGS__))
#define RELEASE(...) BX_THREAD_SAFETY(release_capability(__VA_ARGS__))
#define ASSERT_CAPABILITY(mutex) BX_THREAD_SAFETY(assert_capability(mutex))
#define NO_THREAD_SAFETY_ANALYSIS BX_THREAD_SAFETY(no_thread_safety_analysis)
// On a class: it is a mutex; it holds one for its scope.
#define CAPABILITY(name) BX_THREAD_SAFETY(capability(name))
#define SCOPED_CAPABILITY BX_THREAD_SAFETY(scoped_lockable)

namespace BX::platform {

class CAPABILITY("mutex") Mutex {
 public:
  void lock() ACQUIRE() { mutex_.lock(); }
  void unlock() RELEASE() { mutex_.unlock(); }
  // Tells the analysis what the caller's contract says; checks nothing.
  void assertHeld() const ASSERT_CAPABILITY(this) {}

 private:
  friend class MutexLock;
  std::mutex mutex_;
};

// Holds a mutex for its scope. Can be unlocked and locked again meanwhile.
class SCOPED_CAPABILITY MutexLock {
 public:
  explicit MutexLock(Mutex& mutex) ACQUIRE(mutex) : lock_(mutex.mutex_) {}
  ~MutexLock() RELEASE() = default;
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

  void lock() ACQUIRE() { lock_.lock(); }
  void unlock() RELEASE() { lock_.unlock(); }
  // For std::condition_variable; std::condition_variable_any takes the MutexLock itself. A predicate that reads what
  // the mutex guards says so: [this]() REQUIRES(mutex_) { return ...; }.
  std::unique_lock<std::mutex>& native() { return lock_; }

 private:
  std::unique_lock<std::mutex> lock_;
};

}  // namespace BX::platform
