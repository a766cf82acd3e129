#include "CommandLine.h"

#include <utility>

#include "tools/arguments/Arguments.h"

namespace BX::tool {

namespace {

using arguments::addName;
using arguments::addOption;
using arguments::decimalNumber;
using arguments::wholeNumber;

constexpr unsigned mostShots = 1'000'000;
constexpr double aWeek = 7 * 24 * 60 * 60;

void addPort(CLI::App& command, std::string& port) {
  addName(command, "PORT", port, "Serial port, such as /dev/ttyUSB0 or COM3, or tcp://HOST:PORT").required();
}

// Gives --target.
CLI::Option& addFiles(CLI::App& command, ConfigurationFiles& files) {
  addName(command, "--device FILE", files.device, "Device settings to write, a JSON file");
  addName(command, "--session FILE", files.session, "Session settings to write, a JSON file");
  return addName(command, "--target FILE", files.target, "Target to upload, a JSON file");
}

void addOutput(CLI::App& command, std::string& output) {
  addName(command, "--output FILE", output, "Write a session file, and no records to standard output");
}

}  // namespace

CommandLine::CommandLine(Tool& tool)
    : tool_(tool), app_("Laser target devices: connect, configure, train, read the shots back as JSON", "bx") {
  arguments::prepare(app_);
  app_.fallthrough();  // global options may follow the subcommand
  app_.require_subcommand(1);
  addPorts();
  addInfo();
  addSettings();
  addTarget();
  addTrain();
  addDownload();
  addClear();
  addReplay();
  addReport();
  addDemo();
  addHelp();
  addGlobalOptions();
  arguments::addHelpFlag(app_, BX_VERSION);
  app_.footer(R"(Exit status:
  0      all was done
  1      the device, the link or the disk failed
  2      wrong usage, an input that cannot be used, or an output file refused
  128+N  signal N ended the work before anything was recorded

"bx COMMAND --help" tells the options of a command.)");
}

std::function<void()> CommandLine::parse(int argc, const char* const* argv) {
  try {
    arguments::parse(app_, argc, argv);
  } catch (const CLI::CallForHelp&) {
    show(arguments::helpOf(arguments::chosen(app_)));
  } catch (const CLI::CallForVersion& version) {
    show(version.what());
  }
  return run_;
}

void CommandLine::show(const std::string& text) {
  tool_.global = {};  // no trace is begun for this
  run_ = [this, text] { tool_.console.data(text); };
}

CLI::App& CommandLine::addSubcommand(const char* name, const char* help, std::function<void()> run) {
  auto& command = *app_.add_subcommand(name, help);
  command.callback([this, run = std::move(run)] { run_ = run; });
  return command;
}

void CommandLine::addGlobalOptions() {
  auto& global = tool_.global;
  app_.add_flag("--skip-startup", global.skipStartup, "Connect without the startup command and its 2 seconds");
  app_.add_flag("--force", global.force, "Send what would be refused, as the library takes it");
  app_.add_flag("--overwrite", global.overwrite, "Replace output files that are not empty");
  addOption(app_, "--baud N", global.baud, "Line speed in bits a second, 50 to 4000000")
      .transform(wholeNumber(50, 4'000'000));
  addName(app_, "--trace FILE", global.trace, "Write every frame to this file, which \"bx replay\" reads");
  app_.add_flag("-q,--quiet", global.quiet, "Errors only on standard error");
  app_.add_flag("-v,--verbose", global.verbose, "The library's own lines on standard error");
}

void CommandLine::addPorts() {
  addSubcommand("ports", "List the serial ports of this machine", [this] {
    runPorts(tool_, ports_);
  }).add_flag("--json", ports_.json, "A JSON line for each, on a terminal as well");
}

void CommandLine::addInfo() {
  auto& command = addSubcommand("info", "Connect and print the device's settings", [this] { runInfo(tool_, info_); });
  addPort(command, info_.port);
  command.add_flag("--all", info_.all, "Also session settings, usage, error counters and the targets in use");
}

void CommandLine::addSettings() {
  auto& command = addSubcommand("settings", "Write settings, then print what the device reports",
                                [this] { runSettings(tool_, settings_); });
  addPort(command, settings_.port);
  addFiles(command, settings_.files);
}

void CommandLine::addTarget() {
  auto& command = addSubcommand("target", "Upload a target, or download one", {});
  addPort(command, target_.port);
  auto* file = &addName(command, "FILE", target_.file, "Target to upload, a JSON file");
  auto* get = &addOption(command, "--get NUMBER", target_.number, "Download the target of this number and print it");
  get->transform(wholeNumber(0, 255))->excludes(file);
  addOption(command, "--type TYPE", target_.type, "RING or SILHOUETTE; else the file's \"TargetType\", or RING")
      .check(CLI::IsMember({"RING", "SILHOUETTE"}));
  command.callback([this, file, get] {
    if (file->empty() && get->empty()) throw CLI::RequiredError("FILE or --get NUMBER");
    run_ = [this] { runTarget(tool_, target_); };
  });
}

void CommandLine::addTrain() {
  auto& command = addSubcommand("train", "Train and print each record as a JSON line; Ctrl-C ends it",
                                [this] { runTrain(tool_, train_); });
  addPort(command, train_.port);
  auto& target = addFiles(command, train_.files);
  addOption(command, "--target-number N", train_.targetNumber, "The stored target in use; nothing is uploaded")
      .transform(wholeNumber(0, 254))
      ->excludes(&target);
  addOption(command, "--shots N", train_.shots, "End after so many shots").transform(wholeNumber(1, mostShots));
  addOption(command, "--seconds S", train_.seconds, "End after so many seconds").transform(decimalNumber(0.001, aWeek));
  addOutput(command, train_.output);
  command.add_flag("--shots-only", train_.shotsOnly, "Leave measurements out of standard output");
  addOption(command, "--retry SECONDS", train_.retry, "When the device is lost, try so long to come back to it")
      .transform(decimalNumber(0, aWeek));
  addOption(command, "--live [ADDRESS:PORT]", train_.live,
            "Serve a page that shows it (default: 127.0.0.1, a free port)")
      .default_str("127.0.0.1:0")
      ->expected(0, 1);
}

void CommandLine::addDownload() {
  auto& command = addSubcommand("download", "Download the stored session, one JSON line a record",
                                [this] { runDownload(tool_, download_); });
  addPort(command, download_.port);
  addOutput(command, download_.output);
}

void CommandLine::addClear() {
  addPort(addSubcommand("clear", "Clear the stored results of a device", [this] { runClear(tool_, clearPort_); }),
          clearPort_);
}

void CommandLine::addReplay() {
  auto& command = addSubcommand("replay", "Replay a trace into the library and print its records",
                                [this] { runReplay(tool_, replay_); });
  addName(command, "FILE", replay_.file, "A file that --trace has written").required();
  addName(command, "--port PORT", replay_.port, "Which port, when the file holds several");
  addName(command, "--target FILE", replay_.target, "The target that was in use, a JSON file");
  command.add_flag("--timed", replay_.isTimed, "Send nothing earlier than it came then");
}

void CommandLine::addReport() {
  auto& command =
      addSubcommand("report", "Show what the shots of a session file are worth", [this] { runReport(tool_, report_); });
  addName(command, "SESSION", report_.session, "A file that train or download has written").required();
  addName(command, "--output FILE", report_.output,
          "FILE.html: a page to look at; FILE.svg: face and hits; FILE.json: all figures")
      .required();
  auto& target = addName(command, "--target FILE", report_.target, "The target shot at, when the session names none");
  addOption(command, "--target-number N", report_.targetNumber, "Which target, when the session has several")
      .transform(wholeNumber(0, 254))
      ->excludes(&target);
  addOption(command, "--series N", report_.series, "Shots in a series, on the page (default: the session's bullets)")
      .transform(wholeNumber(1, mostShots));
  addOption(command, "--score RULE", report_.score, "What must reach a ring: edge of the hole (default) or centre")
      .check(CLI::IsMember({"edge", "centre"}));
}

void CommandLine::addDemo() {
  auto& command = addSubcommand("demo", "Show the whole road against a simulated device of its own",
                                [this] { runDemo(tool_, demoShots_); });
  addOption(command, "--shots N", demoShots_, "How many shots to fire (default: 6)")
      .transform(wholeNumber(1, mostShots));
}

void CommandLine::addHelp() {
  auto& command = addSubcommand("help", "Show this help, or that of a command", {});
  addOption(command, "COMMAND", helpCommand_, "The command to tell of");
  command.callback(
      [this] { show(arguments::helpOf(helpCommand_.empty() ? app_ : arguments::commandOf(app_, helpCommand_))); });
}

}  // namespace BX::tool
