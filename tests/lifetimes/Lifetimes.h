// What the tests of lifetimes share.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "bx/BXDeviceManager.h"
#include "bx/BXSerialLink.h"
#include "tests/support/Event.h"
#include "tests/support/Hex.h"
#include "tests/support/LoopbackDevice.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define BX_SANITIZED true
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define BX_SANITIZED true
#endif
#endif
#ifndef BX_SANITIZED
#define BX_SANITIZED false
#endif

namespace BX::test {

// Every random choice of these tests comes from here.
inline constexpr unsigned seed = 20261121;

// How often something is repeated; instrumented programs are several times slower.
constexpr std::size_t scaled(std::size_t count) { return BX_SANITIZED ? (count + 9) / 10 : count; }

template <typename Condition>
void await(Condition condition) {
  while (!condition()) std::this_thread::yield();
}

inline sim::Options streaming(std::size_t count, double rate = 5000) {
  sim::Options options;
  options.keepTranscript = false;
  options.stream.emplace();
  for (std::size_t i = 0; i < count; ++i) options.stream->push_back({0xCA, 0x41});
  options.rate = rate;
  return options;
}

// A line around another one that does something at a given write of the host.
class TriggerLine {
 public:
  // `deed` runs once, at the write `number` from now on (from 0), before it goes out, on the link's own thread.
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
  // Loses everything in both directions from now on.
  void silence(bool on) {
    const std::scoped_lock lock(mutex_);
    silent_ = on;
  }
  void hangUp() {
    const std::scoped_lock lock(mutex_);
    if (events_.hungUp) events_.hungUp("the port was hung up");
    events_ = {};
  }

  std::unique_ptr<link::Transport> around(std::unique_ptr<link::Transport> inner) {
    return std::make_unique<Wrapped>(*this, std::move(inner));
  }

 private:
  class Wrapped : public link::Transport {
   public:
    Wrapped(TriggerLine& owner, std::unique_ptr<link::Transport> inner) : owner_(owner), inner_(std::move(inner)) {}
    void open(Events events) override {
      inner_->open({[this](auto bytes) { owner_.received(bytes); }, [this](const auto&) { owner_.hangUp(); }});
      const std::scoped_lock lock(owner_.mutex_);
      owner_.events_ = std::move(events);
      isOpen_ = true;
    }
    void write(std::vector<std::uint8_t> bytes) override {
      if (owner_.mayWrite()) inner_->write(std::move(bytes));
    }
    void close() override {
      inner_->close();
      if (!std::exchange(isOpen_, false)) return;
      const std::scoped_lock lock(owner_.mutex_);
      owner_.events_ = {};
    }

   private:
    TriggerLine& owner_;
    std::unique_ptr<link::Transport> inner_;
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
    if (!silent_ && events_.received) events_.received(bytes);
  }

  mutable std::mutex mutex_;
  link::Transport::Events events_;
  std::size_t writes_ = 0;
  std::size_t number_ = 0;
  std::function<void()> deed_;
  bool silent_ = false;
};

// A simulated device at the end of a line that can be disturbed.
class DisturbedDevice : public LoopbackDevice {
 public:
  explicit DisturbedDevice(sim::Options options = {}, const std::string& name = "loopback")
      : LoopbackDevice(std::move(options), name) {
    link::setTransport(port, [this](const std::string&) { return trigger.around(line.hostEnd()); });
  }

  TriggerLine trigger;
};

}  // namespace BX::test
