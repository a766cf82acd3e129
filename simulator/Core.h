// What runs inside a Simulator: one thread that owns the device, its end of the link and the line.
//
//   line <-> pacers <-> frames <-> Station <-> payloads <-> DeviceModel
#pragma once

#include <utility>  // before Asio, which needs it

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>

#include <chrono>
#include <memory>
#include <span>
#include <thread>

#include "platform/serial/Frame.h"
#include "platform/serial/Station.h"
#include "simulator/DeviceModel.h"
#include "simulator/Pacer.h"
#include "simulator/Simulator.h"
#include "simulator/Transcript.h"

namespace BX::sim {

class Simulator::Core {
 public:
  Core(Options options, std::unique_ptr<link::Transport> line);
  ~Core();
  Core(const Core&) = delete;
  Core& operator=(const Core&) = delete;

  const Transcript& transcript() const { return transcript_; }
  void hangUp();

 private:
  using Time = std::chrono::steady_clock::time_point;

  // ---- All below runs on the simulator's thread.

  // Does everything that is due, and sets the timer for what comes next.
  void step();
  void hostGone();
  void closeLine();
  void beginDrain();
  bool drained(Time now) const;

  // The line's bytes, cut after each delimiter so that a frame arrives with its own last byte.
  void bytesFromHost(std::span<const std::uint8_t> bytes, Time now);
  // Every frame passes here, and every payload below.
  void frameFromHost(std::span<const std::uint8_t> content, Time now);
  void frameToHost(Bytes frame, Time now);
  void payloadFromHost(const link::Message& request, Time now);
  void payloadToHost(link::Message message, Time now);

  // Takes what the station has to say until it has nothing more.
  void settle(Time now);
  void stream(Time now);
  void flush(Time now);
  std::optional<Time> nextEvent(Time now) const;

  const Options options_;
  Transcript transcript_;
  DeviceModel model_;
  link::Station station_;
  link::FrameDecoder decoder_;
  Pacer fromHost_;
  Pacer toHost_;
  std::chrono::nanoseconds streamPeriod_;
  Time streamDue_{};
  std::optional<Time> drainUntil_;

  boost::asio::io_context io_;
  boost::asio::executor_work_guard<boost::asio::io_context::executor_type> work_;
  boost::asio::steady_timer timer_;
  std::unique_ptr<link::Transport> line_;  // null once it is closed
  std::thread thread_;
};

}  // namespace BX::sim
