// bx: the command-line tool for target devices.
#include <exception>

#include "Tool.h"
#include "bx/BXSerialLink.h"

namespace {

using namespace BX::tool;

void addGlobalOptions(CLI::App& app, GlobalOptions& global) {
  app.add_flag("--skip-startup", global.skipStartup, "Connect without the startup command and its wait of 2 seconds");
  app.add_flag("--force", global.force, "Send documents that would be refused, as the library takes them");
  app.add_option("--baud", global.baud, "Line speed in bits a second")->check(CLI::Range(50U, 4'000'000U));
  app.add_flag("-q,--quiet", global.quiet, "Errors only on standard error");
  app.add_flag("-v,--verbose", global.verbose, "The library's own lines on standard error");
  app.set_version_flag("--version", "bx " BX_VERSION);
}

void apply(Tool& tool) {
  if (tool.global.quiet) tool.console.beQuiet();
  if (tool.global.verbose) tool.console.showLibrary();
  if (tool.global.baud != 0) {
    auto options = BX::link::getOptions();
    options.baud = tool.global.baud;
    BX::link::setOptions(options);
  }
}

int parseAndRun(CLI::App& app, Tool& tool, int argc, char** argv) {
  try {
    app.parse(argc, argv);
    apply(tool);
    tool.run();
    return done;
  } catch (const CLI::CallForHelp&) {
    tool.console.data(app.help());
    return done;
  } catch (const CLI::CallForVersion& version) {
    tool.console.data(version.what());
    return done;
  } catch (const CLI::ParseError& error) {
    tool.console.error(std::string(error.what()) + " (bx --help tells more)");
    return wrongUsage;
  }
}

}  // namespace

int main(int argc, char** argv) {
  Tool tool;
  try {
    CLI::App app("Laser target devices: connect, configure, train, and read the shots back as JSON.", "bx");
    app.fallthrough();  // global options may follow the subcommand
    app.require_subcommand(1);
    addGlobalOptions(app, tool.global);
    for (auto* add : {addPorts, addInfo, addSettings, addTarget, addTrain, addDownload, addClear, addDemo})
      add(app, tool);
    return parseAndRun(app, tool, argc, argv);
  } catch (const Failure& failure) {
    tool.console.error(failure.what());
    return failure.status();
  } catch (const std::exception& exception) {
    tool.console.error(std::string("unexpected: ") + exception.what());
    return deviceFailed;
  }
}
