// The serial port of the operating system, through Boost.Asio. Asynchronous only: a synchronous read never returns
// after close(), and fails on every signal.
#pragma once

#include <utility>

#include <array>
#include <boost/asio/io_context.hpp>
#include <boost/asio/serial_port.hpp>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "bx/BXSerialLink.h"
#include "platform/serial/SerialPortHandle.h"

namespace BX::link {

// Every member, and every event, runs on the thread that runs `context`, one at a time.
class SerialPortTransport : public Transport {
 public:
  SerialPortTransport(boost::asio::io_context& context, std::string port, unsigned baud);
  ~SerialPortTransport() override;
  void open(Events events) override;
  void write(std::vector<std::uint8_t> bytes) override;
  void close() override;

 private:
  // Outlives the transport until the last operation that was under way has ended.
  struct Port : std::enable_shared_from_this<Port> {
    explicit Port(boost::asio::io_context& context) : serial(context) {}
    void read();
    void writeNext();
    void fail(const boost::system::error_code& error);

    boost::asio::serial_port serial;
    Events events;
    std::array<std::uint8_t, 4096> incoming{};
    std::vector<std::uint8_t> outgoing;  // being written
    std::vector<std::uint8_t> waiting;   // to be written after it
    bool reads = false;                  // until what it has read is handled, too
    bool closed = false;
  };

  std::string name_;
  unsigned baud_;
  SerialPort opened_;
  std::shared_ptr<Port> port_;
};

}  // namespace BX::link
