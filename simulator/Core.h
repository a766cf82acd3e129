// What runs inside a Simulator: one thread that owns the device, its end of the link and the line.
//
//   line <-> faults <-> pacers <-> frames <-> Station <-> payloads <-> DeviceModel
#pragma once

#include <utility>  // before Asio, which needs it

#include <boost/asio/dispatch.hpp>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>

#include <chrono>
#include <deque>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <span>
#include <thread>
#include <vector>

#include "platform/codec/Frame.h"
#include "platform/codec/Station.h"
#include "simulator/DeviceModel.h"
#include "simulator/FaultInjector.h"
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
  void setFaults(const std::vector<FaultRule>& faults);
  std::size_t faultsWaiting();
  std::size_t frameCount(Direction direction, FrameKind kind);

 private:
  using Time = std::chrono::steady_clock::time_point;

  // One direction of the line. An empty piece in the pacer stands for the oldest event.
  struct Path {
    Pacer pacer;
    std::deque<FaultEffect> events;
    void clear() {
      pacer.clear();
      events.clear();
    }
  };

  // Runs `action` on the simulator's thread and waits for it.
  template <typename Action>
  auto onThread(const Action& action) {
    std::packaged_task<decltype(action())()> task(action);
    boost::asio::dispatch(io_, [&task] { task(); });
    return task.get_future().get();
  }

  // ---- All below runs on the simulator's thread.

  // Does everything that is due, and sets the timer for what comes next.
  void step();
  void hostGone();
  void closeLine();
  void beginDrain();
  bool drained(Time now) const;

  // The line's bytes, cut after each delimiter so that a frame arrives with its own last byte.
  void bytesFromHost(std::span<const std::uint8_t> bytes, Time now);
  void pieceFromHost(Bytes piece, Time now);
  void receive(const Bytes& piece, Time now);
  // False when the device restarts instead of sending it.
  bool frameToHost(Bytes frame, Time now);
  // Lays `fate` on the way.
  void send(Path& path, FaultInjector::Fate fate, Time now);
  FaultInjector::Fate fateOf(Direction direction, Bytes piece);
  std::vector<Bytes> answer(const Bytes& request);
  void payloadFromHost(const link::Message& request, Time now);

  // Loses the session and all that a power cycle loses, and says nothing.
  void restart();
  void cutLine();

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
  std::optional<FaultInjector> faults_;  // when anything was ever to go wrong
  Bytes fragment_;                       // of the host's bytes, after the last delimiter
  Path fromHost_;
  Path toHost_;
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
