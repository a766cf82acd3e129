// The subcommands of bx-range, one in each file of the same name, and what each is told by the command line. They throw
// Failure.
#pragma once

#include <string>

#include "tools/bx/Tool.h"

namespace BX::range {

using tool::Failure;
using tool::Tool;

struct NextOptions {
  std::string config;
  std::string lane;
};

struct ArchiveOptions {
  std::string config;
  std::string database;
  unsigned keepTraces = 0;  // days after a session's end; 0: for good
};

struct ExportOptions {
  std::string database;
  std::string session;  // its number, or MACHINE/LANE/NUMBER; empty: list what there is
};

struct BoardOptions {
  std::string config;
  std::string address = "127.0.0.1:0";  // ADDRESS:PORT, as viewer::EventServer takes it
};

void runGate(Tool& tool, const std::string& config);
void runNext(Tool& tool, const NextOptions& options);
void runArchive(Tool& tool, const ArchiveOptions& options);
void runExport(Tool& tool, const ExportOptions& options);
void runBoard(Tool& tool, const BoardOptions& options);

}  // namespace BX::range
