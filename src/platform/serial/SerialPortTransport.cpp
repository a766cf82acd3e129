#include "platform/serial/SerialPortTransport.h"

namespace BX::link {

namespace {

void setLine(boost::asio::serial_port& serial, unsigned baud) {
  using Base = boost::asio::serial_port_base;
  serial.set_option(Base::baud_rate(baud));
  serial.set_option(Base::character_size(8));
  serial.set_option(Base::parity(Base::parity::none));
  serial.set_option(Base::stop_bits(Base::stop_bits::one));
  serial.set_option(Base::flow_control(Base::flow_control::none));
}

}  // namespace

std::size_t SerialPortTransport::Kind::writeAtOnce(Stream& serial, std::span<const std::uint8_t> bytes) {
  return link::writeAtOnce(serial.native_handle(), bytes);
}

// An operation that was aborted, but not by closing, is how some drivers tell of a pulled cable.
std::string SerialPortTransport::Kind::reasonOf(const boost::system::error_code& error) {
  return isHangUp(error) ? "the port was hung up" : error.message();
}

SerialPortTransport::SerialPortTransport(boost::asio::io_context& context, std::string port, unsigned baud)
    : name_(std::move(port)), baud_(baud), line_(std::make_shared<AsyncLine<Kind>>(context)) {}

SerialPortTransport::~SerialPortTransport() { SerialPortTransport::close(); }

void SerialPortTransport::open(Events events) {
  opened_ = openSerialPort(name_);
  try {
    line_->stream.assign(opened_.handle);
  } catch (...) {
    closeSerialPort(opened_);
    throw;
  }
  try {
    setLine(line_->stream, baud_);
  } catch (const boost::system::system_error&) {
    close();
    throw OpenFailure(FailureKind::BadLineSpeed, "the port does not take " + std::to_string(baud_) + " baud");
  }
  discardInput(opened_.handle);
  line_->start(std::move(events));
}

void SerialPortTransport::write(std::vector<std::uint8_t> bytes) { line_->write(std::move(bytes)); }

void SerialPortTransport::close() {
  if (!line_->stop() || !line_->stream.is_open()) return;
  releaseSerialPort(opened_);
  boost::system::error_code ignored;
  line_->stream.close(ignored);
  opened_ = {};
}

}  // namespace BX::link
