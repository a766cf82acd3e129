// Dialogues with the programs: tables of what is typed, and of what comes back.
#pragma once

#include <map>
#include <string>

namespace BX::test {

// Types each row of `rows` into bash and looks at what comes back:
//
//     command | status | standard output | standard error
//
// `bx` is the program under test with --skip-startup, $BX its path, `on-terminal` the same on a terminal (quote what
// bash would read), and `bx-sim` the simulated device. `await 'COMMAND'` repeats a command until it succeeds, or until
// the program that was started behind ($!) has ended. In all cells $FOLDER is an empty folder of this call, $NAME the
// value that `words` gives to NAME, and \p a bar. In an output `...` stands for anything within a line, `***` for
// anything at all and \n for the end of a line; an empty cell is no output. A row of one cell, `bx-sim OPTIONS`, starts
// a device in the place of the one before; from then on $PORT is its port. The word VIA is a program that starts the
// devices: tests/road/over-tcp makes their ports tcp://127.0.0.1:NUMBER.
void expectDialogues(const std::string& rows, std::map<std::string, std::string> words = {});

}  // namespace BX::test
