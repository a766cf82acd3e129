// Opening a serial port by the rules of the operating system: with PortList.cpp what differs
// between systems in the link.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace BX::link {

// The settings of a port.
struct LineSettings;

struct SerialPort {
  int handle = -1;
  std::shared_ptr<const LineSettings> found;  // when it was opened; null: unchanged
};

// Opens the port for exclusive use and puts it in raw mode, without flow control and without hanging up at close.
// Nothing about the port changes unless it is ours; the terminal that controls this process never is. Throws
// OpenFailure.
SerialPort openSerialPort(const std::string& port);

void discardInput(int handle);

// Writes what the port takes without waiting, and returns how many bytes that were: none when it takes none now, or
// has failed.
std::size_t writeAtOnce(int handle, std::span<const std::uint8_t> bytes);

// To be called before the port is closed. Puts the settings back that were found, but for hanging up at close, which
// the device would feel, once the last bytes have left or 50 ms have passed; lets others open the port again, also
// while a forked child still holds the handle.
void releaseSerialPort(const SerialPort& port);
// Releases and closes it.
void closeSerialPort(const SerialPort& port);

}  // namespace BX::link
