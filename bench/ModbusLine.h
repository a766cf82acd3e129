// A Modbus RTU slave that takes writes of registers, at the far end of a paced pseudo-terminal of the same kind as the
// simulated device's.
#pragma once

#include <utility>  // before Asio, which needs it

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>

#include <chrono>
#include <string>
#include <thread>

#include "bench/Measure.h"
#include "simulator/Pacer.h"
#include "simulator/Simulator.h"

namespace BX::bench {

class ModbusLine {
 public:
  ModbusLine(unsigned baud, std::chrono::milliseconds latency);
  ~ModbusLine();
  ModbusLine(const ModbusLine&) = delete;
  ModbusLine& operator=(const ModbusLine&) = delete;
  const std::string& name() const { return terminal_.name(); }

 private:
  void step();
  void receive(const sim::Bytes& bytes, sim::Pacer::Time now);

  sim::PtyLine terminal_;
  sim::Pacer fromMaster_;
  sim::Pacer toMaster_;
  sim::Bytes request_;  // what has arrived of it
  boost::asio::io_context io_;
  boost::asio::executor_work_guard<boost::asio::io_context::executor_type> work_;
  boost::asio::steady_timer timer_;
  std::thread thread_;
};

}  // namespace BX::bench
