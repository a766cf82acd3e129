// The listening thread of a link.
#include <system_error>
#include <utility>

#include "platform/serial/Link.h"

namespace BX::link {

namespace {

// The device ends a stream by itself with this payload.
bool isEndOfStream(const Message& message) {
  return message.tag == streamTag && message.payload.size() == 1 && message.payload[0] == wire::replyMark;
}

}  // namespace

void Link::startListening() {
  HandlerGate::Opening opening = HandlerGate::closed;
  std::shared_ptr<Engine> engine;
  {
    const Lock lock(mutex_);
    if (listens_ || !engine_ || (hungUp_ && !untold_)) return;
    opening = opening_;
    engine = engine_;
    listens_ = true;
    endSeen_ = false;
    toDrain_ = 0;
    running_ = true;
    streaming_ = true;
    if (untold_) {
      // Since the answer of the mode: what was streamed until then is still handled, and the stream ends as any other.
      error_ = true;
      setLastError(port_, *std::exchange(untold_, std::nullopt));
    } else {
      engine_->watch(true);
    }
  }
  joinListening();  // an earlier one, which has ended
  Lock lock(mutex_);
  // Called in the remove-device callback, which is the end of an earlier thread: that one is on its own now.
  if (listening_.joinable()) listening_.detach();
  try {
    listening_ = std::thread([self = shared_from_this(), opening, engine] { self->listen(opening, *engine); });
    listeningId_ = listening_.get_id();  // before the thread can have the lock
  } catch (const std::system_error& reason) {
    lock.unlock();
    endListening();
    fail(std::string("no thread to listen: ") + reason.what());
  }
}

void Link::setRunning(bool running) {
  const Lock lock(mutex_);
  if (!running && isListeningThread()) endSeen_ = true;
  if (!running && running_) toDrain_ = streamed_.size();
  running_ = running;
  if (engine_) engine_->runner().nudge();
}

void Link::listen(HandlerGate::Opening opening, Engine& engine) {
  while (hearNext(opening, engine)) {
  }
  engine.runner().relieve(Runner::Guest::Listener);
  endListening();
  auto own = std::this_thread::get_id();
  listeningId_.compare_exchange_strong(own, std::thread::id());  // unless another stream has begun meanwhile
}

// Waits for the next payload and handles it; false when the stream is over.
bool Link::hearNext(HandlerGate::Opening opening, Engine& engine) {
  Message message;
  {
    Lock lock(mutex_);
    // Closing ends this before it stops the engine.
    while (streamed_.empty() && running_ && sessionUp_ && opening == opening_) {
      lock.unlock();
      engine.runner().runOne(Runner::Guest::Listener, std::nullopt);
      lock.lock();
    }
    if (endSeen_ || opening != opening_ || streamed_.empty()) return false;
    if (!running_) {
      if (toDrain_ == 0) return false;
      --toDrain_;
    }
    message = std::move(streamed_.front());
    streamed_.pop_front();
  }
  return handleStreamed(opening, message);
}

bool Link::handleStreamed(HandlerGate::Opening opening, const Message& message) {
  Handler handler;
  {
    const Lock lock(mutex_);
    handler = streamHandler_;
  }
  const Delivery delivery(*this, message.payload);
  bool goesOn = true;
  try {
    goesOn = gate_.run(opening, handler);
  } catch (const std::exception& reason) {
    goesOn = fail(std::string("a streamed payload could not be read: ") + reason.what());
  } catch (...) {
    goesOn = fail("a streamed payload could not be read");
  }
  if (message.tag != streamTag) {
    const Lock lock(mutex_);
    completePending(message.tag);
    changed_.notify_all();
    return false;
  }
  return goesOn && !isEndOfStream(message);
}

// The end of the listening thread, whatever the reason.
void Link::endListening() {
  std::function<bool(const char*)> removed;
  std::string name;
  HandlerGate::Opening opening = HandlerGate::closed;
  {
    const Lock lock(mutex_);
    running_ = false;
    streaming_ = false;
    listens_ = false;
    if (engine_ && !hungUp_) engine_->watch(false);
    // A mode's answer that was meant for this thread is now read by the exchange itself.
    std::erase_if(streamed_, [this](const Message& message) {
      if (message.tag == streamTag) return false;
      completePending(message.tag);
      return true;
    });
    if (hungUp_ && engine_) removed = removeHandler_;
    name = port_;
    opening = opening_;
    changed_.notify_all();
  }
  if (!removed) return;
  try {
    gate_.run(opening, [&] { removed(name.c_str()); });
  } catch (...) {
    // The host's callback failed; there is nobody left to tell.
    fail("the remove-device callback failed");
  }
}

void Link::completePending(std::uint8_t tag) {
  if (pending_ != nullptr && pending_->tag == tag && pending_->arrived) pending_->complete = true;
}

void Link::joinListening() {
  std::thread ended;
  {
    const Lock lock(mutex_);
    if (isListeningThread()) return;
    ended.swap(listening_);
  }
  if (ended.joinable()) ended.join();
}

}  // namespace BX::link
