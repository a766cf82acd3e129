// Opening a serial port by the rules of the operating system: the only file of the link that differs between systems.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace BX::link {

// Opens the port for exclusive use and puts it in raw mode, without flow control and without hanging up at close.
// Nothing about the port changes unless it is ours. Throws OpenFailure.
int openSerialPort(const std::string& port);

void discardInput(int handle);

// Writes what the port takes without waiting, and returns how many bytes that were: none when it takes none now, or
// has failed.
std::size_t writeAtOnce(int handle, std::span<const std::uint8_t> bytes);

// Lets others open the port again, also while a forked child still holds the handle; to be called before it is closed.
void releaseSerialPort(int handle);
void closeSerialPort(int handle);

}  // namespace BX::link
