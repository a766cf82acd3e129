#include "platform/serial/HostLookup.h"

#include "platform/Mutex.h"
#include "platform/serial/Network.h"

namespace BX::link {

using boost::asio::ip::tcp;
using platform::MutexLock;

struct HostLookup::State {
  platform::Mutex mutex;
  boost::asio::io_context* waiter GUARDED_BY(mutex) = nullptr;  // null: nobody waits any more
  bool done GUARDED_BY(mutex) = false;
  boost::system::error_code error GUARDED_BY(mutex);
  Endpoints endpoints GUARDED_BY(mutex);
};

namespace {

HostLookup::Endpoints resolve(const std::string& host, const std::string& service, boost::system::error_code& error) {
  boost::asio::io_context context{1};
  HostLookup::Endpoints endpoints;
  for (const auto& entry : tcp::resolver(context).resolve(host, service, tcp::resolver::numeric_service, error)) {
    endpoints.push_back(entry.endpoint());
  }
  return endpoints;
}

}  // namespace

HostLookup::HostLookup(boost::asio::io_context& waiter, const std::string& host, const std::string& service)
    : state_(std::make_shared<State>()) {
  {
    const MutexLock lock(state_->mutex);
    state_->waiter = &waiter;
  }
  thread_ = std::thread([state = state_, host, service] {
    boost::system::error_code error;
    Endpoints endpoints;
    try {
      endpoints = resolve(host, service, error);
    } catch (...) {
      error = boost::asio::error::no_memory;
    }
    const MutexLock lock(state->mutex);
    state->done = true;
    state->error = error;
    state->endpoints = std::move(endpoints);
    if (state->waiter != nullptr) state->waiter->stop();
  });
}

HostLookup::~HostLookup() {
  {
    const MutexLock lock(state_->mutex);
    state_->waiter = nullptr;
    if (!state_->done) {
      keepLoaded();
      thread_.detach();
      return;
    }
  }
  thread_.join();
}

bool HostLookup::isDone() const {
  const MutexLock lock(state_->mutex);
  return state_->done;
}

HostLookup::Endpoints HostLookup::result(boost::system::error_code& error) const {
  const MutexLock lock(state_->mutex);
  error = state_->error;
  return state_->endpoints;
}

}  // namespace BX::link
