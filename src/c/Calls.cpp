#include "c/Calls.h"

#include <algorithm>
#include <condition_variable>
#include <future>
#include <map>
#include <vector>

#include "bx/Waiting.h"
#include "platform/Mutex.h"

namespace BX::c {

using platform::MutexLock;

namespace {

using Sessions = std::map<bx_manager*, std::shared_ptr<Session>>;

struct Library {
  platform::Mutex shuttingDown;  // before the other one
  platform::Mutex mutex;
  std::condition_variable changed;
  std::uintptr_t lastKey GUARDED_BY(mutex) = 0;
  std::uint64_t lastCall GUARDED_BY(mutex) = 0;
  Sessions sessions GUARDED_BY(mutex);
  std::map<bx_cancel*, bool> cancels GUARDED_BY(mutex);  // whether they are signalled
  std::set<Call*> calls GUARDED_BY(mutex);

  template <typename Which>
  void cancel(const Which& which) REQUIRES(mutex) {
    for (Call* call : calls) {
      if (which(call)) call->cancellation.request();
    }
    changed.notify_all();
  }
};

// Never destroyed: threads of the host may be inside when the process ends.
Library& library() {
  static Library& instance = *new Library;
  return instance;
}

template <typename Map>
auto& find(Map& map, typename Map::key_type key) {
  const auto found = map.find(key);
  if (found == map.end()) throw Failed{BX_E_HANDLE, "there is no such manager or cancel"};
  return found->second;
}

// All at once, since each waits a little for a line that takes nothing any more. What cannot be closed so is closed
// when it is destroyed.
void closePorts(const Sessions& managers) {
  std::vector<std::shared_ptr<BXDevice>> devices;
  for (const auto& [key, session] : managers) {
    for (const auto& port : session->manager.getPorts()) devices.push_back(session->manager.shareDevice(port));
  }
  std::erase(devices, nullptr);
  const auto close = [&](std::size_t i) { devices[i]->getSerialCom().closePort(); };
  std::vector<std::future<void>> others;  // end with them
  for (std::size_t i = 1; i < devices.size(); ++i) others.push_back(std::async(close, i));
  if (!devices.empty()) close(0);
}

}  // namespace

Call::Call(std::optional<bx_manager*> manager, bx_cancel* withCancel) : cancel(withCancel) {
  const MutexLock lock(library().mutex);
  if (manager) session = find(library().sessions, *manager);
  if (cancel != nullptr && find(library().cancels, cancel)) cancellation.request();
  number = ++library().lastCall;
  library().calls.insert(this);
}

// Whoever destroys the session has it, too, and sees this.
Call::~Call() {
  const MutexLock lock(library().mutex);
  library().calls.erase(this);
  session.reset();
  library().changed.notify_all();
}

Turn::Turn(const Call& call, const std::string& port) : call_(call), port_(port), own_{{port, nullptr}} {
  auto& device = own_.begin()->second;
  MutexLock lock(library().mutex);
  while (!call.cancellation.isRequested() && call.session->taken.contains(port)) library().changed.wait(lock.native());
  if (call.cancellation.isRequested()) throw Failed{BX_E_CANCELLED, port + ": cancelled"};
  device = call.manager().shareDevice(port);
  if (!device) throw Failed{BX_E_NO_DEVICE, port + noDevice};
  call.session->taken.insert(port);
}

Turn::~Turn() {
  const bool removed = !isRegistered();
  const MutexLock lock(library().mutex);
  call_.session->taken.erase(port_);
  if (removed) call_.session->removed.merge(own_);
  library().changed.notify_all();
}

void destroyRemoved(Session& session, const std::string& port) {
  Session::Devices found;
  const MutexLock lock(library().mutex);
  while (auto device = session.removed.extract(port)) found.insert(std::move(device));
}

bool setLossTold(Session& session, const std::string& port, bool told) {
  const MutexLock lock(library().mutex);
  return told ? session.lossesTold.insert(port).second : session.lossesTold.erase(port) > 0;
}

bx_manager* createManager() {
  const MutexLock lock(library().mutex);
  setWaitFunction([](std::chrono::milliseconds time) { link::wait(time); });  // ends with the call that waits
  // NOLINTNEXTLINE(performance-no-int-to-ptr): a key, never an address
  auto* const key = reinterpret_cast<bx_manager*>(++library().lastKey);
  return library().sessions.emplace(key, std::make_shared<Session>()).first->first;
}

void destroy(std::optional<bx_manager*> manager) {
  link::Cancellation atOnce;
  atOnce.request();
  const link::Cancellation::Scope scope(atOnce);
  Sessions ended;
  MutexLock lock(library().mutex);
  if (manager) {
    ended.emplace(*manager, find(library().sessions, *manager));
    library().sessions.erase(*manager);
  } else {
    ended.swap(library().sessions);
    library().cancels.clear();
  }
  const auto isEnded = [&, latest = library().lastCall](const Call* call) {
    return manager ? call->session == ended.begin()->second : call->number <= latest;
  };
  library().cancel(isEnded);
  lock.unlock();
  guarded([&] { closePorts(ended); });
  lock.lock();
  while (std::ranges::any_of(library().calls, isEnded)) library().changed.wait(lock.native());
}

void shutDown() {
  const MutexLock alone(library().shuttingDown);
  link::setTraceFile(std::string());
  destroy({});
  const MutexLock lock(library().mutex);
  if (library().sessions.empty()) setWaitFunction({});
}

bx_cancel* createCancel() {
  const MutexLock lock(library().mutex);
  // NOLINTNEXTLINE(performance-no-int-to-ptr): as above
  return library().cancels.emplace(reinterpret_cast<bx_cancel*>(++library().lastKey), false).first->first;
}

void signalCancel(bx_cancel* cancel) {
  const MutexLock lock(library().mutex);
  find(library().cancels, cancel) = true;
  library().cancel([=](const Call* call) { return call->cancel == cancel; });
}

void destroyCancel(bx_cancel* cancel) {
  const MutexLock lock(library().mutex);
  find(library().cancels, cancel);
  library().cancels.erase(cancel);
}

}  // namespace BX::c
