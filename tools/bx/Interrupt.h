// Ctrl-C (SIGINT), SIGTERM and SIGHUP as requests to end in good order.
#pragma once

#include <functional>
#include <string>

#include "Console.h"
#include "bx/BXSerialLink.h"

namespace BX::tool {

// From now on for the rest of the process, whose threads may all be waiting for something: a second signal, from one
// second after the first on, ends it at once. `timeout` and terminals may send one signal twice. A SIGHUP that was
// ignored (nohup) stays ignored.
void catchInterrupts();

// The first signal that came; 0 while none has.
int interruptSignal();
inline bool interrupted() { return interruptSignal() != 0; }

// Requested by the first signal.
link::Cancellation& interruption();

// "PORT: connect: interrupted", with the exit status of a program that a signal has ended.
Failure interruptedFailure(const std::string& what);

// What a second signal still has the program say: one line; empty: nothing. Called while any thread may be in the
// middle of anything, so it must not wait.
void setLastWords(std::function<std::string()> words);

}  // namespace BX::tool
