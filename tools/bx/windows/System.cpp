#include "tools/bx/System.h"

#include <io.h>
#include <windows.h>

#include <csignal>
#include <mutex>
#include <utility>

#include "simulator/LoopbackLine.h"

namespace BX::tool::system {

namespace {

constexpr UINT endedBySignal = 128;  // and the signal's number, as a shell tells it

// Of signals; none at first. They outlive all threads.
std::mutex& mutex = *new std::mutex;
std::function<void(int)>& handler = *new std::function<void(int)>;

HANDLE handleOf(int descriptor) {
  return GetStdHandle(descriptor == standardOutput ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE);
}

// The system calls it on a thread of its own for each event.
BOOL WINAPI onConsoleEvent(DWORD event) {
  const bool isKey = event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT;
  {
    const std::scoped_lock lock(mutex);
    const int signal = isKey ? SIGINT : SIGTERM;
    if (!handler) ExitProcess(endedBySignal + static_cast<UINT>(signal));
    handler(signal);
  }
  // The window is closed or the user leaves: the program has a few seconds more, as long as this does not return.
  if (!isKey) Sleep(INFINITE);
  return TRUE;
}

}  // namespace

void prepareStreams() {
  SetConsoleCtrlHandler(onConsoleEvent, TRUE);
  SetConsoleOutputCP(CP_UTF8);
  for (const int descriptor : {standardOutput, standardError}) {
    DWORD mode = 0;
    const HANDLE console = handleOf(descriptor);
    if (GetConsoleMode(console, &mode) != 0) SetConsoleMode(console, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
  }
}

bool isTerminal(int descriptor) {
  DWORD mode = 0;
  return GetConsoleMode(handleOf(descriptor), &mode) != 0;
}

std::size_t terminalWidth() {
  CONSOLE_SCREEN_BUFFER_INFO screen = {};
  if (GetConsoleScreenBufferInfo(handleOf(standardError), &screen) == 0) return 0;
  return static_cast<std::size_t>(screen.srWindow.Right - screen.srWindow.Left + 1);
}

bool isOutputRead() { return true; }

bool takesError() { return true; }

void onSignals(std::function<void(int signal)> handle) {
  const std::scoped_lock lock(mutex);
  handler = std::move(handle);
}

// In memory: there are no pseudo-terminals that a serial port could be.
SimulatedPort makeSimulatedPort() {
  SimulatedPort port;
  sim::LoopbackLine line;
  port.name = "SIMULATED";
  port.line = line.deviceEnd();
  link::setTransport(port.name, [line](const std::string&) mutable { return line.hostEnd(); });
  return port;
}

}  // namespace BX::tool::system
