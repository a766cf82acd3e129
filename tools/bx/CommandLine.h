// What the command line says, and the subcommand that it asks for.
#pragma once

#include <CLI/CLI.hpp>

#include <functional>
#include <string>

#include "Tool.h"

namespace BX::tool {

class CommandLine {
 public:
  explicit CommandLine(Tool& tool);
  CommandLine(const CommandLine&) = delete;
  CommandLine& operator=(const CommandLine&) = delete;

  // Fills in Tool::global, and gives what is to be done: it throws Failure. Help and the version are for standard
  // output. Throws arguments::WrongUsage.
  std::function<void()> parse(int argc, const char* const* argv);

 private:
  void show(const std::string& text);
  CLI::App& addSubcommand(const char* name, const char* help, std::function<void()> run);
  void addGlobalOptions();
  void addPorts();
  void addInfo();
  void addSettings();
  void addTarget();
  void addTrain();
  void addDownload();
  void addClear();
  void addReplay();
  void addReport();
  void addDemo();
  void addHelp();

  Tool& tool_;
  CLI::App app_;
  std::function<void()> run_;
  PortsOptions ports_;
  InfoOptions info_;
  SettingsOptions settings_;
  TargetOptions target_;
  TrainOptions train_;
  DownloadOptions download_;
  std::string clearPort_;
  ReplayOptions replay_;
  ReportOptions report_;
  std::size_t demoShots_ = 6;
  std::string helpCommand_;
};

}  // namespace BX::tool
