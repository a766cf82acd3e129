// The serial port of the operating system, through Boost.Asio.
#pragma once

#include <utility>

#include <boost/asio/io_context.hpp>
#include <boost/asio/serial_port.hpp>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "bx/BXSerialLink.h"
#include "platform/serial/AsyncLine.h"
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
  struct Kind {
    using Stream = boost::asio::serial_port;
    static std::size_t writeAtOnce(Stream& serial, std::span<const std::uint8_t> bytes);
    static void onRead(Stream&) {}
    static std::string reasonOf(const boost::system::error_code& error);
  };

  std::string name_;
  unsigned baud_;
  SerialPort opened_;
  std::shared_ptr<AsyncLine<Kind>> line_;
};

}  // namespace BX::link
