#include "platform/serial/SerialPortHandle.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <boost/asio/error.hpp>
#include <cctype>
#include <chrono>
#include <string_view>
#include <thread>

#include "bx/BXSerialLink.h"
#include "platform/Utf8.h"

namespace BX::link {

struct LineSettings {
  std::shared_ptr<void> claim;
  DCB line;
  COMMTIMEOUTS timeouts;
};

namespace {

// How long closing waits for a line that does not take what was written.
constexpr std::chrono::milliseconds drainLimit{50};

constexpr DWORD noSuchDevice = 433;  // mingw has no name for it

constexpr std::string_view devices = R"(\\.\)";  // what precedes a port beyond COM9

std::string textOf(DWORD error) {
  std::array<wchar_t, 256> text{};
  constexpr DWORD flags = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK;
  FormatMessageW(flags, nullptr, error, 0, text.data(), static_cast<DWORD>(text.size()), nullptr);
  return "error " + std::to_string(error) + ": " + platform::utf8Of(text.data());
}

OpenFailure failureFor(DWORD error) {
  switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_NAME:
    case ERROR_DEV_NOT_EXIST:
    case noSuchDevice:
      return {FailureKind::NoSuchPort, "no such port"};
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION:
    case ERROR_BUSY:
      return {FailureKind::InUse, "in use by another program"};
    case ERROR_INVALID_FUNCTION:
    case ERROR_INVALID_HANDLE:
    case ERROR_INVALID_PARAMETER:
    case ERROR_NOT_SUPPORTED:
      return {FailureKind::NotASerialPort, "not a serial port"};
    default:
      return {FailureKind::System, textOf(error)};
  }
}

void require(BOOL result) {
  if (result == 0) throw failureFor(GetLastError());
}

// Its name without what may precede it.
std::string_view nameOf(std::string_view port) {
  if (port.starts_with(devices)) port.remove_prefix(devices.size());
  return port;
}

// Holds the port's name against all programs of this library: com33 is COM33, and not every system that runs this
// refuses to open a port twice.
std::shared_ptr<void> claim(std::string_view port) {
  std::string name(nameOf(port));
  std::ranges::transform(name, name.begin(),
                         [](unsigned char c) { return c == '\\' ? '/' : static_cast<char>(std::toupper(c)); });
  const auto object = platform::pathOf("Local\\BX_SERIAL_COM " + name);
  const HANDLE claimed = CreateEventW(nullptr, TRUE, FALSE, object.c_str());
  const DWORD error = GetLastError();
  require(claimed != nullptr);
  std::shared_ptr<void> owner(claimed, CloseHandle);
  if (error == ERROR_ALREADY_EXISTS) throw failureFor(ERROR_BUSY);
  return owner;
}

// 0x0D, 0x11 and 0x13 are data here, and so is 0: nothing is translated, dropped or obeyed.
DCB rawOf(DCB line) {
  line.fBinary = TRUE;
  line.fParity = FALSE;
  line.fOutxCtsFlow = FALSE;
  line.fOutxDsrFlow = FALSE;
  line.fDtrControl = DTR_CONTROL_ENABLE;
  line.fDsrSensitivity = FALSE;
  line.fOutX = FALSE;
  line.fInX = FALSE;
  line.fErrorChar = FALSE;
  line.fNull = FALSE;
  line.fRtsControl = RTS_CONTROL_ENABLE;
  line.fAbortOnError = FALSE;
  return line;
}

// A read ends as soon as the line pauses after some bytes, and a write when all is written.
constexpr COMMTIMEOUTS untilAPause{1, 0, 0, 0, 0};

// Waits for the last bytes, which leave at the line's own speed. A line that does not take them loses them.
void drain(HANDLE handle) {
  const auto end = std::chrono::steady_clock::now() + drainLimit;
  DWORD errors = 0;
  COMSTAT state{};
  while (ClearCommError(handle, &errors, &state) != 0 && state.cbOutQue > 0 && std::chrono::steady_clock::now() < end) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  if (state.cbOutQue > 0) PurgeComm(handle, PURGE_TXCLEAR);
}

}  // namespace

SerialPort openSerialPort(const std::string& port) {
  const auto found = std::make_shared<LineSettings>();
  found->claim = claim(port);
  const auto path = platform::pathOf(std::string(devices).append(nameOf(port)));
  SerialPort opened;
  // No sharing: while it is open, nobody else opens it.
  opened.handle =
      CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, FILE_FLAG_OVERLAPPED, nullptr);
  require(opened.handle != INVALID_HANDLE_VALUE);
  try {
    require(GetCommState(opened.handle, &found->line));
    require(GetCommTimeouts(opened.handle, &found->timeouts));
    opened.found = found;
    DCB raw = rawOf(found->line);
    require(SetCommState(opened.handle, &raw));
    COMMTIMEOUTS timeouts = untilAPause;
    require(SetCommTimeouts(opened.handle, &timeouts));
    return opened;
  } catch (...) {
    closeSerialPort(opened);
    throw;
  }
}

// The handle is for overlapped operations, which only begin here.
std::size_t writeAtOnce(PortHandle, std::span<const std::uint8_t>) { return 0; }

// Does not abort reading, which would look like a pulled cable.
void discardInput(PortHandle handle) { PurgeComm(handle, PURGE_RXCLEAR); }

// Drivers do not agree on what they report for an adapter that is no longer there.
bool isHangUp(const boost::system::error_code& error) {
  constexpr std::array<DWORD, 10> reported{
      ERROR_ACCESS_DENIED, ERROR_INVALID_HANDLE,    ERROR_BAD_COMMAND,          ERROR_GEN_FAILURE,    ERROR_BROKEN_PIPE,
      noSuchDevice,        ERROR_OPERATION_ABORTED, ERROR_DEVICE_NOT_CONNECTED, ERROR_DEVICE_REMOVED, ERROR_NOT_READY};
  return error == boost::asio::error::eof || std::ranges::count(reported, static_cast<DWORD>(error.value())) > 0;
}

void releaseSerialPort(const SerialPort& port) {
  if (port.found) {
    drain(port.handle);
    DCB line = port.found->line;
    line.fDtrControl = DTR_CONTROL_ENABLE;
    SetCommState(port.handle, &line);
    COMMTIMEOUTS timeouts = port.found->timeouts;
    SetCommTimeouts(port.handle, &timeouts);
  }
  CancelIoEx(port.handle, nullptr);
}

void closeSerialPort(const SerialPort& port) {
  releaseSerialPort(port);
  CloseHandle(port.handle);
}

}  // namespace BX::link
