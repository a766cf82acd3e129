#include "platform/serial/Link.h"

#include <exception>
#include <utility>

#include "bx/BXSerialCom.h"
#include "platform/AtExit.h"
#include "platform/serial/Cancelling.h"
#include "platform/serial/FailureWatch.h"

namespace BX::link {

using platform::MutexLock;

std::string Link::port() const {
  const MutexLock lock(mutex_);
  return port_;
}

bool Link::setPort(const std::string& port) {
  const MutexLock lifecycle(lifecycle_);
  if (const auto current = connection(); current && current->isUp()) return false;
  const MutexLock lock(mutex_);
  port_ = port;
  return true;
}

// Handlers of a former connection, which was hung up, may still run: waiting for them could be waiting for a host that
// waits for this.
bool Link::open() {
  const MutexLock lifecycle(lifecycle_);
  if (const auto current = connection(); current && current->isUp()) return true;
  if (const auto former = replaceConnection(nullptr)) former->close();
  modeUnknown_ = false;
  try {
    replaceConnection(connect());
    return true;
  } catch (const OpenFailure& reason) {
    const bool closed = reason.kind() == FailureKind::Cancelled && !isCancelled();
    return note(closed ? failureOf(FailureKind::Closed) : Failure{reason.kind(), {}, reason.what()});
  } catch (const std::exception& reason) {
    return note({FailureKind::System, {}, reason.what()});
  }
}

// With a cancellation of its own, which close() requests, and which the host's requests as well.
std::shared_ptr<Connection> Link::connect() {
  Cancellation opening;
  setOpening(opening);
  const platform::AtExit over([this] { setOpening({}); });
  const Waker waker([&opening] { opening.request(); });
  if (isCancelled()) opening.request();
  const Cancellation::Scope scope(opening);
  return std::make_shared<Connection>(port(), handlers_);
}

bool Link::close() {
  {
    const MutexLock lock(mutex_);
    if (opening_) opening_->request();  // it may wait for the network
  }
  std::shared_ptr<Connection> former;
  {
    const MutexLock lifecycle(lifecycle_);
    former = replaceConnection(nullptr);
    if (former) former->close();
  }
  if (handlers_->gate.current() == nullptr) {  // a handler waits for none
    handlers_->gate.awaitRunning();            // of earlier connections as well: one may have closed itself
    if (former) former->joinListening();
  }
  return former != nullptr;
}

std::shared_ptr<Connection> Link::connection() const {
  const MutexLock lock(mutex_);
  return connection_;
}

std::shared_ptr<Connection> Link::replaceConnection(std::shared_ptr<Connection> connection) {
  const MutexLock lock(mutex_);
  return std::exchange(connection_, std::move(connection));
}

void Link::setOpening(std::optional<Cancellation> opening) {
  const MutexLock lock(mutex_);
  opening_ = std::move(opening);
}

bool Link::commandMode(std::uint8_t mode) { return exchange(withSum({letter::mode, mode}), {letter::mode}, {}, mode); }

bool Link::exchange(const Bytes& request, const Expected& expected, const Handler& handler,
                    std::optional<std::uint8_t> mode) {
  const auto current = connection();
  if (!current) return fail(failureOf(FailureKind::NotOpen));
  if (!mode && modeUnknown_ && !commandMode(BXSerialCom::RESTING)) return false;
  Answer answer = current->request(request, mode);
  if (mode) modeUnknown_ = answer.failure && answer.failure->kind == FailureKind::Cancelled;
  if (!answer.failure) answer.failure = failureOf(request, expected, answer.payloads.back());
  if (!answer.failure) return current->handOver(answer.payloads, handler);
  // The device rests since it lost the session: what it refuses now it would have done before.
  const bool lost = answer.modeLost && answer.failure->kind == FailureKind::Refused;
  return fail(lost ? failureOf(FailureKind::SessionLost) : std::move(*answer.failure));
}

bool Link::fail(Failure failure) {
  handlers_->error = true;
  return note(std::move(failure));
}

bool Link::note(Failure failure) {
  noteFailure(failure);
  setLastFailure(port(), std::move(failure));
  return false;
}

}  // namespace BX::link
