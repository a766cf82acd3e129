#include "c/Calls.h"

#include <algorithm>
#include <condition_variable>
#include <map>

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

  template <typename Key>
  Key* newKey() REQUIRES(mutex) {
    return reinterpret_cast<Key*>(++lastKey);
  }

  template <typename Which>
  void cancel(const Which& which) REQUIRES(mutex) {
    for (Call* call : calls) {
      if (which(*call)) call->cancellation.request();
    }
    changed.notify_all();
  }

  template <typename Which>
  void awaitEnd(MutexLock& lock, const Which& which) REQUIRES(mutex) {
    while (std::ranges::any_of(calls, [&](const Call* call) { return which(*call); })) changed.wait(lock.native());
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

// Closes the ports without the half second that a device is given otherwise.
template <typename Owner>
void destroyAtOnce(Owner owner) {
  link::Cancellation atOnce;
  atOnce.request();
  const link::Cancellation::Scope scope(atOnce);
  owner = {};
}

}  // namespace

Call::Call() {
  const MutexLock lock(library().mutex);
  number = ++library().lastCall;
  library().calls.insert(this);
}

Call::Call(bx_manager* manager, bx_cancel* withCancel) : cancel(withCancel) {
  const MutexLock lock(library().mutex);
  session = find(library().sessions, manager);
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
  auto& device = own_.front().second;
  MutexLock lock(library().mutex);
  while (!call.cancellation.isRequested() && call.session->taken.contains(port)) library().changed.wait(lock.native());
  if (call.cancellation.isRequested()) throw Failed{BX_E_CANCELLED, port + ": cancelled"};
  device = call.manager().shareDevice(port);
  if (!device) throw Failed{BX_E_NO_DEVICE, port + ": no device is registered"};
  call.session->taken.insert(port);
}

Turn::~Turn() {
  const bool removed = !isRegistered();
  const MutexLock lock(library().mutex);
  call_.session->taken.erase(port_);
  if (removed) call_.session->removed.splice(call_.session->removed.end(), own_);
  library().changed.notify_all();
}

bool Turn::isRegistered() const { return call_.manager().shareDevice(port_) == own_.front().second; }

void destroyRemoved(Session& session, const std::string& port) {
  Session::Devices found;
  const MutexLock lock(library().mutex);
  for (auto next = session.removed.begin(); next != session.removed.end();) {
    const auto device = next++;
    if (device->first == port) found.splice(found.end(), session.removed, device);
  }
}

bool tellLoss(Session& session, const std::string& port) {
  const MutexLock lock(library().mutex);
  return session.lossesTold.insert(port).second;
}

void forgetLoss(Session& session, const std::string& port) {
  const MutexLock lock(library().mutex);
  session.lossesTold.erase(port);
}

bx_manager* createManager() {
  auto session = std::make_shared<Session>();
  const MutexLock lock(library().mutex);
  return library().sessions.emplace(library().newKey<bx_manager>(), std::move(session)).first->first;
}

void destroyManager(bx_manager* manager) {
  const Call inside;
  std::shared_ptr<Session> session;
  {
    MutexLock lock(library().mutex);
    session = find(library().sessions, manager);
    library().sessions.erase(manager);
    const auto isOfIt = [&](const Call& call) { return call.session == session; };
    library().cancel(isOfIt);
    library().awaitEnd(lock, isOfIt);
  }
  destroyAtOnce(std::move(session));
}

void shutDown() {
  const MutexLock alone(library().shuttingDown);
  Sessions sessions;
  {
    MutexLock lock(library().mutex);
    sessions.swap(library().sessions);
    library().cancels.clear();
    const auto isInside = [latest = library().lastCall](const Call& call) { return call.number <= latest; };
    library().cancel(isInside);
    library().awaitEnd(lock, isInside);
  }
  destroyAtOnce(std::move(sessions));
}

bx_cancel* createCancel() {
  const MutexLock lock(library().mutex);
  return library().cancels.emplace(library().newKey<bx_cancel>(), false).first->first;
}

void signalCancel(bx_cancel* cancel) {
  const MutexLock lock(library().mutex);
  find(library().cancels, cancel) = true;
  library().cancel([=](const Call& call) { return call.cancel == cancel; });
}

void destroyCancel(bx_cancel* cancel) {
  const MutexLock lock(library().mutex);
  find(library().cancels, cancel);
  library().cancels.erase(cancel);
}

}  // namespace BX::c
