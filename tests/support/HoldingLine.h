// A transport around another one that can keep back what comes from the device, or lose it, or hang up.
#pragma once

#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "bx/BXSerialLink.h"

namespace BX::test {

class HoldingLine {
 public:
  // Keeps back all that the device sends from now on.
  void hold() {
    const std::scoped_lock lock(mutex_);
    holding_ = true;
  }
  // Lets it through, in order, or drops what was kept back.
  void release(bool drop = false) {
    const std::scoped_lock lock(mutex_);
    holding_ = false;
    if (!drop && events_.received && !kept_.empty()) events_.received(kept_);
    kept_.clear();
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
    Wrapped(HoldingLine& owner, std::unique_ptr<link::Transport> inner) : owner_(owner), inner_(std::move(inner)) {}
    void open(Events events) override {
      {
        const std::scoped_lock lock(owner_.mutex_);
        owner_.events_ = std::move(events);
      }
      inner_->open({[this](auto bytes) { owner_.arrived(bytes); }, [this](const auto&) { owner_.hangUp(); }});
    }
    void write(std::vector<std::uint8_t> bytes) override { inner_->write(std::move(bytes)); }
    void close() override {
      inner_->close();
      const std::scoped_lock lock(owner_.mutex_);
      owner_.events_ = {};
    }

   private:
    HoldingLine& owner_;
    std::unique_ptr<link::Transport> inner_;
  };

  void arrived(std::span<const std::uint8_t> bytes) {
    const std::scoped_lock lock(mutex_);
    if (holding_) {
      kept_.insert(kept_.end(), bytes.begin(), bytes.end());
    } else if (events_.received) {
      events_.received(bytes);
    }
  }

  std::mutex mutex_;
  link::Transport::Events events_;
  std::vector<std::uint8_t> kept_;
  bool holding_ = false;
};

}  // namespace BX::test
