// The device of a trace: gives a host again what the device of the trace sent, as soon as the host has done what came
// before it there.
#pragma once

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "Recording.h"
#include "bx/BXSerialLink.h"

namespace BX::tool {

class Playback {
 public:
  // `isTimed`: nothing goes out earlier than in the trace either.
  Playback(const Recording& recording, bool isTimed) : recording_(recording), isTimed_(isTimed) {}

  // The line to the device; from one to the next it goes on in the trace.
  std::unique_ptr<link::Transport> line();

  // Gives all that stands before the entry `at`, whether the host has done its part or not, and blocks until then.
  void goTo(std::size_t at);
  // The same up to the opening at the entry `at`, while no line is open.
  void skipTo(std::size_t at);

  std::size_t framesGiven() const;
  // Where the host did not do what it did in the trace.
  std::vector<std::string> departures() const;
  void depart(const RecordedEntry& entry, const std::string& text);

 private:
  class Line;
  using Lock = std::unique_lock<std::mutex>;

  void open(link::Transport::Events events);
  void hear(std::span<const std::uint8_t> bytes);
  void close();

  void play();
  bool mayPass(const RecordedEntry& entry) const;
  void pass(const RecordedEntry& entry);
  void give(const RecordedEntry& entry);
  void reach(const Milestone& milestone);
  void note(const RecordedEntry& entry, const std::string& text);

  const Recording& recording_;
  const bool isTimed_;

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  link::Transport::Events events_;
  std::thread player_;
  bool isOpen_ = false;
  std::chrono::steady_clock::time_point start_;
  std::size_t position_ = 0;  // the next entry
  std::size_t forced_ = 0;    // entries before this one wait for no host
  std::size_t reached_ = 0;   // the entry after the last one whose milestone the host has reached
  HostObserver host_;
  link::FrameDecoder decoder_;
  std::uint8_t sessionShift_ = 0;        // from the trace's session to the replaying host's
  std::array<std::uint8_t, 64> tags_{};  // by the trace's tag: the replaying host's
  std::size_t given_ = 0;
  std::vector<std::string> departures_;
};

}  // namespace BX::tool
