// A line in memory between a host and a simulated device in the same process. Both ends are Transports; the host's
// can be opened, closed and opened again any number of times, as a port can.
#pragma once

#include <functional>
#include <memory>

#include "bx/BXSerialLink.h"

namespace BX::sim {

class LoopbackLine {
 public:
  LoopbackLine();

  // The device's end. `hungUp` there means that the host has closed its end; the device's end then stays open.
  std::unique_ptr<link::Transport> deviceEnd();
  // A new handle for the host's end. open() throws "in use by another program" while another one is open, and
  // "no such port" while the device's end is closed; closing the device's end hangs the host's up.
  std::unique_ptr<link::Transport> hostEnd();

 private:
  struct Shared;
  std::shared_ptr<Shared> shared_;
};

}  // namespace BX::sim
