#include "simulator/LoopbackLine.h"

#include <mutex>
#include <optional>
#include <utility>

namespace BX::sim {

// Events are raised under the lock: that is what makes close() final. Receivers return at once, so it is never long.
struct LoopbackLine::Shared {
  std::mutex mutex;
  std::optional<link::Transport::Events> device;
  std::optional<link::Transport::Events> host;
  const link::Transport* hostHandle = nullptr;
};

namespace {

void hangUp(std::optional<link::Transport::Events>& end, const std::string& reason) {
  if (end && end->hungUp) end->hungUp(reason);
}

void deliver(std::optional<link::Transport::Events>& end, const std::vector<std::uint8_t>& bytes) {
  if (end && end->received) end->received(bytes);
}

template <typename Shared>
class DeviceEnd : public link::Transport {
 public:
  explicit DeviceEnd(std::shared_ptr<Shared> shared) : shared_(std::move(shared)) {}
  ~DeviceEnd() override { DeviceEnd::close(); }
  void open(Events events) override {
    const std::scoped_lock lock(shared_->mutex);
    shared_->device = std::move(events);
  }
  void write(std::vector<std::uint8_t> bytes) override {
    const std::scoped_lock lock(shared_->mutex);
    if (shared_->device) deliver(shared_->host, bytes);
  }
  void close() override {
    const std::scoped_lock lock(shared_->mutex);
    if (!shared_->device) return;
    shared_->device.reset();
    hangUp(shared_->host, "the port was hung up");
    shared_->host.reset();
  }

 private:
  std::shared_ptr<Shared> shared_;
};

template <typename Shared>
class HostEnd : public link::Transport {
 public:
  explicit HostEnd(std::shared_ptr<Shared> shared) : shared_(std::move(shared)) {}
  ~HostEnd() override { HostEnd::close(); }
  void open(Events events) override {
    const std::scoped_lock lock(shared_->mutex);
    if (!shared_->device) throw link::OpenFailure(link::FailureKind::NoSuchPort, "no such port");
    if (shared_->hostHandle != nullptr) throw link::OpenFailure(link::FailureKind::InUse, "in use by another program");
    shared_->host = std::move(events);
    shared_->hostHandle = this;
  }
  void write(std::vector<std::uint8_t> bytes) override {
    const std::scoped_lock lock(shared_->mutex);
    if (shared_->host && shared_->hostHandle == this) deliver(shared_->device, bytes);
  }
  void close() override {
    const std::scoped_lock lock(shared_->mutex);
    if (shared_->hostHandle != this) return;
    shared_->hostHandle = nullptr;
    shared_->host.reset();
    hangUp(shared_->device, "the host closed the port");
  }

 private:
  std::shared_ptr<Shared> shared_;
};

}  // namespace

LoopbackLine::LoopbackLine() : shared_(std::make_shared<Shared>()) {}

std::unique_ptr<link::Transport> LoopbackLine::deviceEnd() { return std::make_unique<DeviceEnd<Shared>>(shared_); }

std::unique_ptr<link::Transport> LoopbackLine::hostEnd() { return std::make_unique<HostEnd<Shared>>(shared_); }

}  // namespace BX::sim
