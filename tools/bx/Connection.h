// One connected device, disconnected when the object goes.
#pragma once

#include <optional>
#include <string>

#include "Tool.h"
#include "bx/BXDeviceManager.h"
#include "bx/BXSerialLink.h"

namespace BX::tool {

using Json = MORVA::MORVADataTypeJSON;

class Connection {
 public:
  // Connects; throws Failure. From now on signals are caught: operations of this thread then fail at once, as long as
  // this object lives, or until it is told to go on.
  Connection(const Tool& tool, std::string port);
  ~Connection();  // a device that still trains is told to stop
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  const std::string& port() const { return port_; }
  // The settings that the device reported when it was connected.
  const Json& settings() const { return settings_; }
  BXDeviceManager& manager() { return manager_; }
  // Stays valid as long as the connection, also when the device hangs up.
  BXDevice& device() { return manager_.getDevice(port_); }

  // Clears the error flag, so that failed() speaks of what follows.
  void begin() { device().setError(false); }
  bool failed() { return device().hasError(); }
  void goOnWhenInterrupted() { cancelled_.reset(); }
  // Throws Failure: the port, `step`, and the link's own reason or the interrupt, after which the device rests.
  [[noreturn]] void fail(const std::string& step);

 private:
  std::string port_;
  std::optional<link::Cancellation::Scope> cancelled_;
  BXDeviceManager manager_;
  Json settings_;
};

// The line for a port that could not be opened or connected.
std::string connectFailure(const std::string& port, const link::Failure& failure);

// The reason as a person wants it: a request that the device refused is told by what it asked for.
std::string explain(const link::Failure& failure);

}  // namespace BX::tool
