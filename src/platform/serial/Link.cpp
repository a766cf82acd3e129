#include "platform/serial/Link.h"

#include <exception>
#include <utility>

namespace BX::link {

using platform::MutexLock;

std::string Link::port() const {
  const MutexLock lock(mutex_);
  return port_;
}

bool Link::setPort(const std::string& port) {
  const MutexLock lifecycle(lifecycle_);
  const MutexLock lock(mutex_);
  if (!connection_) port_ = port;
  return !connection_;
}

bool Link::open() {
  std::shared_ptr<Connection> former;  // of a port that was hung up
  bool opened = false;
  {
    const MutexLock lifecycle(lifecycle_);
    if (const auto current = connection(); current && current->isUp()) return true;
    former = replaceConnection(nullptr);
    if (former) former->close();
    try {
      replaceConnection(std::make_shared<Connection>(port(), handlers_));
      opened = true;
    } catch (const OpenFailure& reason) {
      setLastFailure(port(), {reason.kind(), {}, reason.what()});
    } catch (const std::exception& reason) {
      setLastFailure(port(), {FailureKind::System, {}, reason.what()});
    }
  }
  awaitHandlers(former);
  return opened;
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
  if (handlers_->gate.current() != nullptr) return;  // a handler waits for none
  handlers_->gate.awaitRunning();
  if (former) former->joinListening();
}

std::shared_ptr<Connection> Link::connection() const {
  const MutexLock lock(mutex_);
  return connection_;
}

std::shared_ptr<Connection> Link::replaceConnection(std::shared_ptr<Connection> connection) {
  const MutexLock lock(mutex_);
  return std::exchange(connection_, std::move(connection));
}

bool Link::exchange(const Bytes& request, const Expected& expected, const Handler& handler,
                    std::optional<std::uint8_t> mode) {
  const auto current = connection();
  if (!current) return fail(failureOf(FailureKind::NotOpen));
  Answer answer = current->request(request, mode);
  if (!answer.failure) answer.failure = failureOf(request, expected, answer.payloads.back());
  if (!answer.failure) return current->handOver(answer.payloads, handler);
  // The device rests since it lost the session: what it refuses now it would have done before.
  const bool lost = answer.inNewSession && answer.failure->kind == FailureKind::Refused;
  return fail(lost ? failureOf(FailureKind::SessionLost) : std::move(*answer.failure));
}

bool Link::fail(Failure failure) {
  handlers_->error = true;
  setLastFailure(port(), std::move(failure));
  return false;
}

}  // namespace BX::link
