// Transports around another one, and what they do to it.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "bx/BXSerialLink.h"
#include "tests/support/LoopbackDevice.h"

namespace BX::test {

// Passes everything on: to be overridden.
class Around : public link::Transport {
 public:
  explicit Around(std::unique_ptr<link::Transport> inner) : inner_(std::move(inner)) {}
  void open(Events events) override { inner_->open(std::move(events)); }
  void write(std::vector<std::uint8_t> bytes) override { inner_->write(std::move(bytes)); }
  void close() override { inner_->close(); }

 private:
  std::unique_ptr<link::Transport> inner_;
};

// A host's line that keeps back what comes from the device, or is silent, or hangs up, or does something at a given
// write.
class DisturbedLine {
 public:
  // Keeps back all that the device sends from now on, until it is released.
  void hold() {
    const std::scoped_lock lock(mutex_);
    holding_ = true;
  }
  void release() {
    const std::scoped_lock lock(mutex_);
    holding_ = false;
    if (events_.received && !kept_.empty()) events_.received(std::exchange(kept_, {}));
  }
  // Loses everything in both directions from now on.
  void silence(bool on) {
    const std::scoped_lock lock(mutex_);
    silent_ = on;
  }
  void hangUp() {
    const std::scoped_lock lock(mutex_);
    if (const auto events = std::exchange(events_, {}); events.hungUp) events.hungUp("the port was hung up");
  }
  // `deed` runs once, at the write `number` from now on (from 0), before it goes out, on the thread that writes.
  void arm(std::size_t number, std::function<void()> deed) {
    const std::scoped_lock lock(mutex_);
    writes_ = 0;
    number_ = number;
    deed_ = std::move(deed);
  }
  // How many writes there were since arm().
  std::size_t writes() const {
    const std::scoped_lock lock(mutex_);
    return writes_;
  }

  std::unique_ptr<link::Transport> around(std::unique_ptr<link::Transport> inner) {
    return std::make_unique<Wrapped>(*this, std::move(inner));
  }

 private:
  class Wrapped : public Around {
   public:
    Wrapped(DisturbedLine& owner, std::unique_ptr<link::Transport> inner) : Around(std::move(inner)), owner_(owner) {}
    void open(Events events) override {
      Around::open({[this](auto bytes) { owner_.received(bytes); }, [this](const auto&) { owner_.hangUp(); }});
      const std::scoped_lock lock(owner_.mutex_);
      owner_.events_ = std::move(events);
      isOpen_ = true;
    }
    void write(std::vector<std::uint8_t> bytes) override {
      if (owner_.mayWrite()) Around::write(std::move(bytes));
    }
    void close() override {
      Around::close();
      if (!std::exchange(isOpen_, false)) return;
      const std::scoped_lock lock(owner_.mutex_);
      owner_.events_ = {};
    }

   private:
    DisturbedLine& owner_;
    bool isOpen_ = false;
  };

  bool mayWrite() {
    std::function<void()> deed;
    {
      const std::scoped_lock lock(mutex_);
      if (writes_++ == number_) deed.swap(deed_);
    }
    if (deed) deed();
    const std::scoped_lock lock(mutex_);
    return !silent_;
  }
  void received(std::span<const std::uint8_t> bytes) {
    const std::scoped_lock lock(mutex_);
    if (holding_) {
      kept_.insert(kept_.end(), bytes.begin(), bytes.end());
    } else if (!silent_ && events_.received) {
      events_.received(bytes);
    }
  }

  mutable std::mutex mutex_;
  link::Transport::Events events_;
  std::vector<std::uint8_t> kept_;
  std::size_t writes_ = 0;
  std::size_t number_ = 0;
  std::function<void()> deed_;
  bool holding_ = false;
  bool silent_ = false;
};

// A simulated device at the end of such a line.
class DisturbedDevice : public LoopbackDevice {
 public:
  explicit DisturbedDevice(sim::Options options = {}, const std::string& name = "loopback")
      : LoopbackDevice(std::move(options), name) {
    link::setTransport(port, [this](const std::string&) { return hostsLine.around(line.hostEnd()); });
  }

  DisturbedLine hostsLine;
};

}  // namespace BX::test
