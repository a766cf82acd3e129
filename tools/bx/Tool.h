// What the subcommands share, and what each is told by the command line.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "Console.h"

namespace BX::tool {

struct GlobalOptions {
  bool skipStartup = false;
  bool force = false;
  bool overwrite = false;  // files that are not empty may be replaced
  bool quiet = false;
  bool verbose = false;
  unsigned baud = 0;  // 0: the link's own
  std::string trace;  // empty: none
};

struct Tool {
  Console console;
  GlobalOptions global;
};

// Documents to write before anything else; an empty path: not given.
struct ConfigurationFiles {
  std::string device, session, target;
  bool any() const { return !device.empty() || !session.empty() || !target.empty(); }
};

struct PortsOptions {
  bool json = false;  // JSON lines on a terminal as well
};

struct InfoOptions {
  std::string port;
  bool all = false;  // besides the settings what else the device reports
};

struct SettingsOptions {
  std::string port;
  ConfigurationFiles files;
};

struct TargetOptions {
  std::string port;
  std::string file;  // to upload; empty: download `number`
  std::string type;  // empty: not given
  int number = 0;
};

struct TrainOptions {
  std::string port;
  ConfigurationFiles files;
  std::optional<int> targetNumber;  // the stored target that is in use; excludes files.target
  std::size_t shots = 0;            // 0: no limit
  double seconds = 0;               // 0: no limit
  double retry = 0;                 // seconds to try to come back after a loss; 0: none
  bool shotsOnly = false;           // no measurements on standard output
  std::string output;               // empty: standard output
  std::string live;                 // ADDRESS:PORT at which a page follows; empty: none
};

struct DownloadOptions {
  std::string port;
  std::string output;  // empty: standard output
};

struct ReplayOptions {
  std::string file;
  std::string port;    // empty: the only one in the file
  std::string target;  // the target file that was in use; empty: none
  bool isTimed = false;
};

struct ReportOptions {
  std::string session;
  std::string output;               // its suffix tells the format
  std::string target;               // a target file in place of those of the session; empty: none
  std::optional<int> targetNumber;  // which of the session's
  std::string score = "edge";       // or "centre"
  std::size_t series = 0;           // shots in one, on a page; 0: as the session says
};

// The subcommands, one in each file of the same name. They throw Failure.
void runPorts(Tool& tool, const PortsOptions& options);
void runInfo(Tool& tool, const InfoOptions& options);
void runSettings(Tool& tool, const SettingsOptions& options);
void runTarget(Tool& tool, const TargetOptions& options);
void runTrain(Tool& tool, const TrainOptions& options);
void runDownload(Tool& tool, const DownloadOptions& options);
void runClear(Tool& tool, const std::string& port);
void runReplay(Tool& tool, const ReplayOptions& options);
void runReport(Tool& tool, const ReportOptions& options);
void runDemo(Tool& tool, std::size_t shots);

}  // namespace BX::tool
