// Opening a serial port by the rules of the operating system: with listPorts() what differs between systems in the
// link.
#pragma once

#include <utility>

#include <boost/asio/serial_port.hpp>
#include <boost/system/error_code.hpp>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace BX::link {

using PortHandle = boost::asio::serial_port::native_handle_type;

// The settings of a port.
struct LineSettings;

struct SerialPort {
  PortHandle handle{};
  std::shared_ptr<const LineSettings> found;  // when it was opened; null: unchanged. Let go when the handle is closed.
};

// Opens the port for exclusive use and puts it in raw mode, without flow control and without hanging up at close.
// Nothing about the port changes unless it is ours; the terminal that controls this process never is. Throws
// OpenFailure.
SerialPort openSerialPort(const std::string& port);

void discardInput(PortHandle handle);

// Writes what the port takes without waiting, and returns how many bytes that were: none when it takes none now, or
// has failed, or where no port can be asked so.
std::size_t writeAtOnce(PortHandle handle, std::span<const std::uint8_t> bytes);

// Whether this is what a port reports whose adapter was pulled out or whose far end is gone.
bool isHangUp(const boost::system::error_code& error);

// To be called before the port is closed. Puts the settings back that were found, but for hanging up at close, which
// the device would feel, once the last bytes have left or 50 ms have passed; lets others open the port again, also
// while a forked child still holds the handle; ends reading and writing where closing does not.
void releaseSerialPort(const SerialPort& port);
// Releases and closes it.
void closeSerialPort(const SerialPort& port);

}  // namespace BX::link
