// What each system has a way of its own for, in the tool: standard streams, signals, and a port to demonstrate with.
// The folders posix and windows have it each.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

#include "bx/BXSerialLink.h"

namespace BX::tool::system {

// Of each program.
inline constexpr int standardOutput = 1;
inline constexpr int standardError = 2;

// Writing to a pipe that nobody reads, or more to a file than it may hold, fails from now on, and ends no program.
// Terminals take UTF-8, and the sequences that move their cursor. A signal ends the program with 128 and its number.
void prepareStreams();
bool isTerminal(int descriptor);
// Of the terminal on standard error, in columns; 0: not known.
std::size_t terminalWidth();
// False when nobody reads standard output any more, as far as the system tells before something is written.
bool isOutputRead();
// Whether standard error takes a line at once; a terminal may stand still.
bool takesError();

// From now on `handle` is called, on one thread of its own, for each signal that asks the program to end: SIGINT,
// SIGTERM and, where it is known and was not ignored (nohup), SIGHUP. To be called once.
void onSignals(std::function<void(int signal)> handle);

// A new port that the link can open, and what a simulated device behind it writes to.
struct SimulatedPort {
  std::string name;
  std::unique_ptr<link::Transport> line;
};
SimulatedPort makeSimulatedPort();

}  // namespace BX::tool::system
