#include "platform/serial/SerialPortTransport.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/write.hpp>

#include "platform/serial/SerialPortHandle.h"

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

SerialPortTransport::SerialPortTransport(boost::asio::io_context& context, std::string port, unsigned baud)
    : name_(std::move(port)), baud_(baud), port_(std::make_shared<Port>(context)) {}

SerialPortTransport::~SerialPortTransport() { SerialPortTransport::close(); }

void SerialPortTransport::open(Events events) {
  opened_ = openSerialPort(name_);
  try {
    port_->serial.assign(opened_.handle);
  } catch (...) {
    closeSerialPort(opened_);
    throw;
  }
  try {
    setLine(port_->serial, baud_);
  } catch (const boost::system::system_error&) {
    close();
    throw OpenFailure(FailureKind::BadLineSpeed, "the port does not take " + std::to_string(baud_) + " baud");
  }
  discardInput(opened_.handle);
  port_->events = std::move(events);
  port_->read();
}

void SerialPortTransport::write(std::vector<std::uint8_t> bytes) {
  if (port_->closed) return;
  if (!port_->reads && port_->events.hungUp) port_->read();  // the last read could not be started, or threw
  // Nearly always the port takes all of it now, which spares a completion to wait for.
  const std::size_t taken = port_->outgoing.empty() ? writeAtOnce(port_->serial.native_handle(), bytes) : 0;
  if (taken == bytes.size()) return;
  port_->waiting.insert(port_->waiting.end(), bytes.begin() + static_cast<std::ptrdiff_t>(taken), bytes.end());
  if (port_->outgoing.empty()) port_->writeNext();
}

void SerialPortTransport::close() {
  if (port_->closed) return;
  port_->closed = true;
  port_->events = {};
  if (!port_->serial.is_open()) return;
  releaseSerialPort(opened_);
  boost::system::error_code ignored;
  port_->serial.close(ignored);
  opened_ = {};
}

// One read at a time: a second one would bring what follows before the first is handled, into the same buffer.
void SerialPortTransport::Port::read() {
  reads = false;
  serial.async_read_some(boost::asio::buffer(incoming), [self = shared_from_this()](const auto& error, std::size_t n) {
    if (self->closed) return;
    if (error) {
      self->fail(error);
      return;
    }
    try {
      self->events.received(std::span(self->incoming).first(n));
    } catch (...) {
      self->reads = false;
      throw;
    }
    if (!self->closed) self->read();
  });
  reads = true;
}

void SerialPortTransport::Port::writeNext() {
  outgoing.swap(waiting);
  auto written = [self = shared_from_this()](const auto& error, std::size_t) {
    self->outgoing.clear();
    if (self->closed) return;
    if (error) {
      self->fail(error);
    } else if (!self->waiting.empty()) {
      self->writeNext();
    }
  };
  try {
    boost::asio::async_write(serial, boost::asio::buffer(outgoing), std::move(written));
  } catch (...) {  // lost on the line, but no obstacle to what follows
    outgoing.clear();
    throw;
  }
}

// A port that has failed is never read again: re-arming the read of a hung-up port would burn the processor. An
// operation that was aborted, but not by closing, is how some drivers tell of a pulled cable.
void SerialPortTransport::Port::fail(const boost::system::error_code& error) {
  if (!events.hungUp) return;
  events.hungUp(isHangUp(error) ? "the port was hung up" : error.message());
  events.hungUp = nullptr;
}

}  // namespace BX::link
