// The running half of an open port: transport, frame decoder, station and their times. One thread at a time runs it
// (Loop.h); no code of a user runs there.
#pragma once

#include <utility>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "bx/BXSerialLink.h"
#include "platform/codec/Frame.h"
#include "platform/codec/Station.h"
#include "platform/codec/Trace.h"
#include "platform/serial/PortBook.h"

namespace BX::link {

class Engine {
 public:
  using Clock = std::chrono::steady_clock;
  using Time = Clock::time_point;

  // What the engine reports, on the thread that runs it.
  class Listener {
   public:
    virtual ~Listener() = default;
    virtual void onSessionBegan() = 0;
    // False when nobody waits for it: an answer that comes too late.
    virtual bool onDelivered(Message message) = 0;
    // The device has received something of ours, or a part of an answer with this tag has come.
    virtual void onProgress(std::optional<std::uint8_t> tag) = 0;
    virtual void onSessionLost(FailureKind reason) = 0;
    // Last of all, and once.
    virtual void onHungUp(const std::string& reason) = 0;
  };

  // What other threads want of the engine.
  struct Orders {
    std::vector<Message> messages;  // to be sent
    bool endsSession = false;       // before that; the next message begins a new one
    bool watches = false;           // whether a silent line is asked for signs of life
  };

  // Opens the port; throws OpenFailure, or what the transport throws.
  Engine(const std::string& port, const Options& options, std::shared_ptr<Counters> counters, Listener& listener);
  ~Engine();
  Engine(const Engine&) = delete;
  Engine& operator=(const Engine&) = delete;

  // Carries out the orders, then waits for one event, until `until` at most, and handles it. Time-outs are judged after
  // everything that had come was read. Whatever throws here ends the session.
  void runOne(Orders orders, std::optional<Time> until) noexcept;
  // Makes a runOne return that begins after the next getReady() or runs now. Any thread.
  void wake() { context_.stop(); }
  // To be called before runOne, when a wake() is about to be heeded.
  void getReady() { context_.restart(); }
  // Says DISC and closes the port. When nobody runs the engine any more.
  void close() noexcept;

 private:
  void carryOut(Orders& orders);
  void readOn();
  void judgeTime();
  std::optional<Time> deadline() const;
  void onReceived(std::span<const std::uint8_t> bytes);
  void endTrace(std::string_view event);
  void hangUp() noexcept;
  void loseSession() noexcept;
  void settle();

  boost::asio::io_context context_{1};
  boost::asio::executor_work_guard<boost::asio::io_context::executor_type> work_{context_.get_executor()};
  const Options options_;
  Listener& listener_;
  const std::shared_ptr<Counters> counters_;
  std::unique_ptr<Trace> trace_;  // null: none
  FrameDecoder decoder_;
  Station station_;
  std::optional<std::string> hangUpReason_;  // still to be handled
  bool hungUp_ = false;
  bool watches_ = false;
  std::unique_ptr<Transport> transport_;
};

}  // namespace BX::link
