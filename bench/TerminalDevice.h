// A simulated device that runs by hand on a terminal's far end, so that the moment of each written byte is known.
#pragma once

#include <chrono>
#include <functional>
#include <span>

#include "bench/Terminal.h"
#include "platform/codec/Frame.h"
#include "platform/codec/Station.h"
#include "simulator/DeviceModel.h"

namespace BX::bench {

class TerminalDevice {
 public:
  explicit TerminalDevice(sim::Options options);
  const std::string& name() const { return terminal_.name(); }

  // Answers the host until `over`, which is asked after every quiet millisecond. The device streams by stream() alone.
  void serve(const std::function<bool()>& over);
  // Streams one payload; its last byte is on the terminal when this returns.
  void stream(std::span<const std::uint8_t> payload);

 private:
  void receive();
  void settle();

  sim::Options options_;
  sim::DeviceModel model_;
  Terminal terminal_;
  link::Station station_;
  link::FrameDecoder decoder_;
};

}  // namespace BX::bench
