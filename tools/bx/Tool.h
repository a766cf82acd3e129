// What the subcommands share: the console, the global options, and how each adds itself to the command line.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>

#include "Console.h"

namespace BX::tool {

struct GlobalOptions {
  bool skipStartup = false;
  bool force = false;
  bool quiet = false;
  bool verbose = false;
  unsigned baud = 0;  // 0: the link's own
};

struct Tool {
  Console console;
  GlobalOptions global;
  std::function<void()> run;  // the subcommand that was chosen; throws Failure
};

// One for each file of the same name. Each sets Tool::run when its subcommand is chosen.
void addPorts(CLI::App& app, Tool& tool);
void addInfo(CLI::App& app, Tool& tool);
void addSettings(CLI::App& app, Tool& tool);
void addTarget(CLI::App& app, Tool& tool);
void addTrain(CLI::App& app, Tool& tool);
void addDownload(CLI::App& app, Tool& tool);
void addClear(CLI::App& app, Tool& tool);
void addDemo(CLI::App& app, Tool& tool);

}  // namespace BX::tool
