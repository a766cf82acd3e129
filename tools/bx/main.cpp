// bx: the command-line tool for target devices.
#include <CLI/CLI.hpp>
#include <cerrno>
#include <exception>
#include <functional>
#include <system_error>

#include "Tool.h"
#include "TraceWatch.h"
#include "bx/BXSerialLink.h"

namespace {

using namespace BX::tool;

// The command line: what it says ends up here.
class CommandLine {
 public:
  explicit CommandLine(Tool& tool) : tool_(tool) {
    app_.fallthrough();  // global options may follow the subcommand
    app_.require_subcommand(1);
    app_.set_version_flag("--version", "bx " BX_VERSION);
    addGlobalOptions();
    addPorts();
    addInfo();
    addSettings();
    addTarget();
    addTrain();
    addDownload();
    addReplay();
    addPort(addSubcommand("clear", "Clear the stored results of a device", [this] { runClear(tool_, port_); }), port_);
    addSubcommand("demo", "Show the whole road against a simulated device of its own",
                  [this] { runDemo(tool_, demoShots_); })
        .add_option("--shots", demoShots_, "How many shots to fire")
        ->capture_default_str()
        ->check(CLI::PositiveNumber);
  }

  // Gives the exit status. Throws CLI::ParseError, and Failure.
  int parseAndRun(int argc, char** argv) {
    app_.parse(argc, argv);
    applyGlobalOptions();
    TraceWatch trace(tool_.console, tool_.global.trace);
    run_();
    return trace.isWhole() ? done : deviceFailed;
  }

  std::string help() const { return app_.help(); }

 private:
  void addGlobalOptions() {
    auto& global = tool_.global;
    app_.add_flag("--skip-startup", global.skipStartup,
                  "Connect without the startup command and its wait of 2 seconds");
    app_.add_flag("--force", global.force, "Send documents that would be refused, as the library takes them");
    app_.add_flag("--overwrite", global.overwrite, "Replace output files that are not empty");
    app_.add_option("--baud", global.baud, "Line speed in bits a second")->check(CLI::Range(50U, 4'000'000U));
    app_.add_option("--trace", global.trace, "Write every frame to this file, for a bug report or `bx replay`");
    app_.add_flag("-q,--quiet", global.quiet, "Errors only on standard error");
    app_.add_flag("-v,--verbose", global.verbose, "The library's own lines on standard error");
  }

  void applyGlobalOptions() {
    const auto& global = tool_.global;
    if (global.quiet) tool_.console.beQuiet();
    if (global.verbose) tool_.console.showLibrary();
    if (!global.trace.empty() && !BX::link::setTraceFile(global.trace)) {
      throw Failure(wrongUsage, global.trace + ": open: " + std::generic_category().message(errno));
    }
    if (global.baud == 0) return;
    auto options = BX::link::getOptions();
    options.baud = global.baud;
    BX::link::setOptions(options);
  }

  CLI::App& addSubcommand(const char* name, const char* help, std::function<void()> run) {
    auto* command = app_.add_subcommand(name, help);
    command->callback([this, run] { run_ = run; });
    return *command;
  }

  static void addPort(CLI::App& command, std::string& port) {
    command.add_option("PORT", port, "Serial port, such as /dev/ttyUSB0")->required();
  }

  static void addFiles(CLI::App& command, ConfigurationFiles& files) {
    command.add_option("--device", files.device, "Device settings to write, a JSON file");
    command.add_option("--session", files.session, "Session settings to write, a JSON file");
  }

  static CLI::Option* addTargetFile(CLI::App& command, ConfigurationFiles& files) {
    return command.add_option("--target", files.target, "Target to upload, a JSON file");
  }

  static void addOutput(CLI::App& command, std::string& output) {
    command.add_option("--output", output, "Write a session file, and no records to standard output");
  }

  void addPorts() {
    addSubcommand("ports", "List the serial ports of this machine", [this] {
      runPorts(tool_, ports_);
    }).add_flag("--json", ports_.json, "One JSON line each, on a terminal as well");
  }

  void addInfo() {
    auto& command = addSubcommand("info", "Connect and print the device's settings", [this] { runInfo(tool_, info_); });
    addPort(command, info_.port);
    command.add_flag("--all", info_.all, "Also session settings, usage, error counters and the targets in use");
  }

  void addSettings() {
    auto& command = addSubcommand("settings", "Write settings, then print what the device reports",
                                  [this] { runSettings(tool_, settings_); });
    addPort(command, settings_.port);
    addFiles(command, settings_.files);
    addTargetFile(command, settings_.files);
  }

  void addTarget() {
    auto& command = addSubcommand("target", "Upload a target, or download one", [this] { runTarget(tool_, target_); });
    addPort(command, target_.port);
    auto* file = command.add_option("FILE", target_.file, "Target to upload, a JSON file");
    auto* get = command.add_option("--get", target_.number, "Download the target of this number and print it");
    get->check(CLI::Range(0, 255))->excludes(file);
    command.add_option("--type", target_.type, "RING or SILHOUETTE; otherwise what the file's \"TargetType\" says")
        ->check(CLI::IsMember({"RING", "SILHOUETTE"}));
    command.parse_complete_callback([file, get] {
      if (file->empty() && get->empty()) throw CLI::RequiredError("FILE or --get NUMBER");
    });
  }

  void addTrain() {
    auto& command = addSubcommand("train", "Train and print each record as a JSON line; Ctrl-C ends it",
                                  [this] { runTrain(tool_, train_); });
    addPort(command, train_.port);
    addFiles(command, train_.files);
    auto* target = addTargetFile(command, train_.files);
    command.add_option("--target-number", train_.targetNumber, "The stored target that is in use; nothing is uploaded")
        ->check(CLI::Range(0, 254))
        ->excludes(target);
    command.add_option("--shots", train_.shots, "End after this many shots")->check(CLI::PositiveNumber);
    command.add_option("--seconds", train_.seconds, "End after this time")->check(CLI::PositiveNumber);
    command.add_option("--retry", train_.retry, "Try so many seconds to come back after a loss (default: not at all)")
        ->check(CLI::NonNegativeNumber);
    command.add_flag("--shots-only", train_.shotsOnly, "No measurements on standard output");
    addOutput(command, train_.output);
  }

  void addDownload() {
    auto& command = addSubcommand("download", "Download the stored session, one JSON line a record",
                                  [this] { runDownload(tool_, download_); });
    addPort(command, download_.port);
    addOutput(command, download_.output);
  }

  void addReplay() {
    auto& command = addSubcommand("replay", "Replay a trace into the library and print its records",
                                  [this] { runReplay(tool_, replay_); });
    command.add_option("FILE", replay_.file, "A file that --trace has written")->required();
    command.add_option("--port", replay_.port, "Which port, when the file holds several");
    command.add_option("--target", replay_.target, "The target file that was in use");
    command.add_flag("--timed", replay_.isTimed, "Send nothing earlier than it came then");
  }

  Tool& tool_;
  CLI::App app_{"Laser target devices: connect, configure, train, and read the shots back as JSON.", "bx"};
  std::function<void()> run_;
  std::string port_;
  PortsOptions ports_;
  InfoOptions info_;
  SettingsOptions settings_;
  TargetOptions target_;
  TrainOptions train_;
  DownloadOptions download_;
  ReplayOptions replay_;
  std::size_t demoShots_ = 6;
};

int parseAndRun(Tool& tool, int argc, char** argv) {
  CommandLine commandLine(tool);
  try {
    return commandLine.parseAndRun(argc, argv);
  } catch (const CLI::CallForHelp&) {
    tool.console.data(commandLine.help());
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
    return parseAndRun(tool, argc, argv);
  } catch (const Failure& failure) {
    tool.console.error(failure.what());
    return failure.status();
  } catch (const std::exception& exception) {
    tool.console.error(std::string("unexpected: ") + exception.what());
    return deviceFailed;
  }
}
