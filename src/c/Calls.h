// The keys of managers and cancels, the calls that are inside the library, and the turns that they take with ports.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "bx/BXDeviceManager.h"
#include "c/Border.h"

namespace BX::c {

// What a manager's key stands for. All but the manager is for the functions below alone.
struct Session {
  using Devices = std::multimap<std::string, std::shared_ptr<BXDevice>>;

  BXDeviceManager manager;
  std::set<std::string> taken;       // the ports with which a call has its turn
  std::set<std::string> lossesTold;  // the ports that were hung up
  Devices removed;                   // while a call had them
};

// A call of the host, from its begin to its end.
class Call {
 public:
  // Of a manager, or of none. Throws Failed when there is no such manager or cancel; the cancel may be null.
  explicit Call(std::optional<bx_manager*> manager = {}, bx_cancel* cancel = nullptr);
  ~Call();
  Call(const Call&) = delete;
  Call& operator=(const Call&) = delete;
  BXDeviceManager& manager() const { return session->manager; }

  std::shared_ptr<Session> session;
  bx_cancel* cancel = nullptr;
  link::Cancellation cancellation;  // by the host's cancel, or by the end of the manager
  std::uint64_t number = 0;
};

// A call's turn with the device of a port, which it shares meanwhile.
class Turn {
 public:
  // Blocks until no other call has its turn with the port. Throws Failed when the call is cancelled, or there is no
  // device.
  Turn(const Call& call, const std::string& port);
  // To destroy a device takes half a second, which no call that can be cancelled may take: one that was removed
  // meanwhile waits for destroyRemoved, or for the end of the manager.
  ~Turn();
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;
  BXDevice& device() const { return *own_.begin()->second; }
  bool isRegistered() const { return call_.manager().shareDevice(port_) == own_.begin()->second; }

 private:
  const Call& call_;
  const std::string port_;
  Session::Devices own_;
};

void destroyRemoved(Session& session, const std::string& port);
// A hang-up is told once. Whether this is news.
bool setLossTold(Session& session, const std::string& port, bool told);

bx_manager* createManager();
// One manager, or all of them and all calls; without the half second that a device is given otherwise.
void destroy(std::optional<bx_manager*> manager);
void shutDown();
bx_cancel* createCancel();
void signalCancel(bx_cancel* cancel);
void destroyCancel(bx_cancel* cancel);

}  // namespace BX::c
