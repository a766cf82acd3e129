#include "CommandLine.h"

#include "tools/arguments/Arguments.h"

namespace BX::range {

namespace {

using arguments::addName;
using arguments::addOption;

void addConfig(CLI::App& command, std::string& config) {
  addName(command, "CONFIG", config, "The range's configuration, a JSON file").required();
}

}  // namespace

CommandLine::CommandLine(Tool& tool)
    : tool_(tool), app_("Gate, archive and board of a range of laser targets", "bx-range") {
  arguments::prepare(app_);
  app_.fallthrough();  // global options may follow the subcommand
  app_.require_subcommand(1);
  addGate();
  addNext();
  addArchive();
  addExport();
  addBoard();
  app_.add_flag("-q,--quiet", tool_.global.quiet, "Errors only on standard error");
  arguments::addHelpFlag(app_, BX_VERSION);
  app_.footer(R"(Exit status:
  0      all was done, or a signal ended it in good order
  1      the device, the broker or the disk failed
  2      wrong usage, or an input that cannot be used

"bx-range COMMAND --help" tells the options of a command; docs/range.md tells the
rest.)");
}

std::function<void()> CommandLine::parse(int argc, const char* const* argv) {
  const auto show = [this](const std::string& text) { run_ = [&tool = tool_, text] { tool.console.data(text); }; };
  try {
    arguments::parse(app_, argc, argv);
  } catch (const CLI::CallForHelp&) {
    show(arguments::helpOf(arguments::chosen(app_)));
  } catch (const CLI::CallForVersion& version) {
    show(version.what());
  }
  return run_;
}

CLI::App& CommandLine::addSubcommand(const char* name, const char* help) { return *app_.add_subcommand(name, help); }

void CommandLine::addGate() {
  auto& command = addSubcommand("gate", "Train the lanes of this machine, keep what they give, and publish it");
  addConfig(command, config_);
  command.add_flag("--skip-startup", tool_.global.skipStartup, "Connect without the startup command and its 2 seconds");
  command.callback([this] { run_ = [&tool = tool_, config = config_] { runGate(tool, config); }; });
}

void CommandLine::addNext() {
  auto& command = addSubcommand("next", "End the session of a lane of the gate that runs here, and begin the next one");
  addConfig(command, next_.config);
  addName(command, "LANE", next_.lane, "The lane's name").required();
  command.callback([this] { run_ = [&tool = tool_, options = next_] { runNext(tool, options); }; });
}

void CommandLine::addArchive() {
  auto& command = addSubcommand("archive", "Keep all sessions of a range in a database");
  addConfig(command, archive_.config);
  addName(command, "DATABASE", archive_.database, "SQLite file; made when there is none").required();
  addOption(command, "--keep-traces DAYS", archive_.keepTraces,
            "Delete all but the shots of sessions that ended longer ago")
      .transform(arguments::wholeNumber(1, 100'000));
  command.callback([this] { run_ = [&tool = tool_, options = archive_] { runArchive(tool, options); }; });
}

void CommandLine::addExport() {
  auto& command = addSubcommand("export", "Print a session file out of an archive, byte for byte");
  addName(command, "DATABASE", export_.database, "The archive's SQLite file").required();
  addName(command, "SESSION", export_.session, "Its number, or MACHINE/LANE/NUMBER; without it, all are listed");
  command.callback([this] { run_ = [&tool = tool_, options = export_] { runExport(tool, options); }; });
}

void CommandLine::addBoard() {
  auto& command = addSubcommand("board", "Serve a page that shows every lane");
  addConfig(command, board_.config);
  addName(command, "ADDRESS:PORT", board_.address, "Where to listen (default: 127.0.0.1, a free port)");
  command.callback([this] { run_ = [&tool = tool_, options = board_] { runBoard(tool, options); }; });
}

}  // namespace BX::range
