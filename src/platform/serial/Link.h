// The host's side of a port name: what the host has installed, and the connection while the port is open. BXSerialCom
// is a thin face of it.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "bx/BXSerialLink.h"
#include "platform/Mutex.h"
#include "platform/codec/Payload.h"
#include "platform/serial/Connection.h"
#include "platform/serial/Handlers.h"

namespace BX::link {

class Link {
 public:
  explicit Link(std::string port) : port_(std::move(port)) {}

  std::string port() const;
  bool setPort(const std::string& port);
  bool open();
  bool close();
  // Null while the port is closed.
  std::shared_ptr<Connection> connection() const;
  Handlers& handlers() { return *handlers_; }

  // Sends `request` and hands the payloads of its answer, in order, to `handler`, if there is one, which may destroy
  // what it is called for. `mode`: the one that the request commands.
  bool exchange(const Bytes& request, const Expected& expected, const Handler& handler,
                std::optional<std::uint8_t> mode = std::nullopt);
  bool commandMode(std::uint8_t mode);
  // Whether the last command of a mode was cancelled: the device may have heard it or not. The next exchange that is
  // none is preceded by the command to rest.
  bool isModeUnknown() const { return modeUnknown_; }
  // Notes why an exchange failed; always false.
  bool fail(Failure failure);

 private:
  bool note(Failure failure);  // always false
  std::shared_ptr<Connection> replaceConnection(std::shared_ptr<Connection> connection);
  std::shared_ptr<Connection> connect();
  void setOpening(std::optional<Cancellation> opening);

  // Opening and closing take turns. Never held while a handler is waited for, and taken before any other.
  platform::Mutex lifecycle_;
  std::atomic<bool> modeUnknown_ = false;
  const std::shared_ptr<Handlers> handlers_ = std::make_shared<Handlers>();
  mutable platform::Mutex mutex_;
  std::string port_ GUARDED_BY(mutex_);
  std::shared_ptr<Connection> connection_ GUARDED_BY(mutex_);
  std::optional<Cancellation> opening_ GUARDED_BY(mutex_);  // of the opening under way
};

}  // namespace BX::link
