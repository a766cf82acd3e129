// The running half of an open link: the io_context, the transport, the decoder and the station, served by one thread at
// a time. No code of a user ever runs there.
#pragma once

#include <utility>

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "bx/BXSerialLink.h"
#include "platform/serial/Frame.h"
#include "platform/serial/PortBook.h"
#include "platform/serial/Runner.h"
#include "platform/serial/Station.h"
#include "platform/serial/Trace.h"

namespace BX::link {

class Engine {
 public:
  // What the engine reports, on the thread that serves it. Implementations return at once.
  class Listener {
   public:
    virtual ~Listener() = default;
    virtual void onSessionBegan() = 0;
    // False when nobody waits for it: an answer that comes too late.
    virtual bool onDelivered(Message message) = 0;
    // The device has received a payload of ours.
    virtual void onAcknowledged() = 0;
    virtual void onSessionLost(const std::string& reason) = 0;
    // Last of all, and once.
    virtual void onHungUp(const std::string& reason) = 0;
  };

  // Opens the port and starts the thread; throws std::runtime_error with the reason. `listener` must live until stop()
  // has returned.
  Engine(const std::string& port, const Options& options, Listener& listener);
  // Stops.
  ~Engine();
  Engine(const Engine&) = delete;
  Engine& operator=(const Engine&) = delete;

  // Any thread; these return at once.
  void submit(Message message);
  void watch(bool on);  // whether a silent line is asked for signs of life

  // Takes leave of the device, closes the port and ends the thread. Not to be called from a Listener. Idempotent.
  void stop();

  // For a thread that waits for what the device sends: it serves the engine itself meanwhile.
  Runner& runner() { return runner_; }

 private:
  using Clock = std::chrono::steady_clock;
  void onReceived(std::span<const std::uint8_t> bytes);
  void onTransportHungUp(const std::string& reason);
  void decodeTraced(std::span<const std::uint8_t> bytes, const FrameDecoder::Sink& sink);
  void endTrace(std::string_view event);
  void settle();
  void armTimer();

  boost::asio::io_context context_{1};
  boost::asio::steady_timer timer_{context_};
  Options options_;
  Listener& listener_;
  std::shared_ptr<Counters> counters_;
  std::unique_ptr<Trace> trace_;  // null: none
  FrameDecoder decoder_;
  Station station_;
  std::optional<Clock::time_point> armedFor_;
  bool hungUp_ = false;
  std::unique_ptr<Transport> transport_;
  Runner runner_{context_, options_.resend};
};

}  // namespace BX::link
