#include "platform/serial/Link.h"

#include <exception>
#include <utility>

#include "platform/Letters.h"
#include "platform/serial/OpenFailure.h"

namespace BX::link {

using platform::MutexLock;

std::string Link::port() const {
  const MutexLock lock(mutex_);
  return port_;
}

bool Link::setPort(const std::string& port) {
  const MutexLock lifecycle(lifecycle_);
  const MutexLock lock(mutex_);
  if (connection_) return false;
  port_ = port;
  return true;
}

bool Link::open() {
  std::shared_ptr<Connection> former;  // of a port that was hung up
  bool opened = false;
  {
    const MutexLock lifecycle(lifecycle_);
    if (isConnected()) return true;
    former = replaceConnection(nullptr);
    if (former) former->close();
    opened = connect();
  }
  awaitHandlers(former);
  return opened;
}

bool Link::connect() {
  const std::string name = port();
  try {
    replaceConnection(std::make_shared<Connection>(name, handlers_));
    return true;
  } catch (const OpenFailure& reason) {
    setLastFailure(name, {reason.kind(), {}, reason.what()});
  } catch (const std::exception& reason) {
    setLastFailure(name, {FailureKind::System, {}, reason.what()});
  }
  return false;
}

bool Link::close() {
  std::shared_ptr<Connection> former;
  {
    const MutexLock lifecycle(lifecycle_);
    former = replaceConnection(nullptr);
    if (former) former->close();
  }
  awaitHandlers(former);
  return former != nullptr;
}

// Those of earlier connections as well: one may have been closed by its own handler.
void Link::awaitHandlers(const std::shared_ptr<Connection>& former) {
  if (handlers_->gate.inside()) return;
  handlers_->gate.awaitRunning();
  if (former) former->joinListening();
}

void Link::shutDown() {
  close();
  handlers_->reply.set({});
  handlers_->stream.set({});
  handlers_->removed.set({});
}

bool Link::isConnected() const {
  const auto current = connection();
  return current && current->isUp();
}

std::shared_ptr<Connection> Link::connection() const {
  const MutexLock lock(mutex_);
  return connection_;
}

std::shared_ptr<Connection> Link::replaceConnection(std::shared_ptr<Connection> connection) {
  const MutexLock lock(mutex_);
  return std::exchange(connection_, std::move(connection));
}

bool Link::changeMode(std::uint8_t mode) {
  return exchange(withSum({wire::letter::mode, mode}), {wire::letter::mode}, {}, mode);
}

bool Link::exchange(const Bytes& request, const Expected& expected, const Handler& handler,
                    std::optional<std::uint8_t> mode) {
  const auto current = connection();
  if (!current) return fail(failureOf(FailureKind::NotOpen));
  Connection::Answer answer = current->request(request, mode);
  if (answer.failure) return fail(std::move(*answer.failure));
  if (auto failure = failureOf(request, expected, answer.payloads.back())) {
    // The device rests since it lost the session: what it refuses now it would have done before.
    const bool lost = failure->kind == FailureKind::Refused && answer.inNewSession;
    return fail(lost ? failureOf(FailureKind::SessionLost) : std::move(*failure));
  }
  return current->handOver(answer.payloads, handler);
}

Bytes Link::receivedBytes() const {
  const Bytes* current = Delivery::current(*handlers_);
  return current != nullptr ? *current : handlers_->lastReply.get();
}

bool Link::fail(Failure failure) {
  handlers_->error = true;
  setLastFailure(port(), std::move(failure));
  return false;
}

void Link::startListening() {
  if (const auto current = connection()) current->startListening();
}

void Link::setRunning(bool running) {
  if (const auto current = connection()) current->setRunning(running);
}

bool Link::streaming() const {
  const auto current = connection();
  return current && current->streaming();
}

void Link::setStreaming(bool streaming) {
  if (const auto current = connection()) current->setStreaming(streaming);
}

}  // namespace BX::link
