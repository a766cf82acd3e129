// What the command line says, and the subcommand that it asks for.
#pragma once

#include <CLI/CLI.hpp>

#include <functional>
#include <string>

#include "Range.h"

namespace BX::range {

class CommandLine {
 public:
  explicit CommandLine(Tool& tool);
  CommandLine(const CommandLine&) = delete;
  CommandLine& operator=(const CommandLine&) = delete;

  // Fills in Tool::global, and gives what is to be done: it throws Failure. It may outlive this object. Help and the
  // version are for standard output. Throws arguments::WrongUsage.
  std::function<void()> parse(int argc, const char* const* argv);

 private:
  CLI::App& addSubcommand(const char* name, const char* help);
  void addGate();
  void addNext();
  void addArchive();
  void addExport();
  void addBoard();

  Tool& tool_;
  CLI::App app_;
  std::function<void()> run_;
  std::string config_;
  NextOptions next_;
  ArchiveOptions archive_;
  ExportOptions export_;
  BoardOptions board_;
};

}  // namespace BX::range
