// bx-bench: measures everything side by side and writes the table of ratios.
#include <CLI/CLI.hpp>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include "bench/Profile.h"
#include "bench/Sections.h"

namespace {

using namespace BX::bench;

struct Section {
  const char* name;
  Rows (*measure)(const Setting&);
};
constexpr Section sections[] = {
    {"frames", measureFrames},       {"paced", measurePaced},     {"unpaced", measureUnpaced},
    {"downloads", measureDownloads}, {"memory", measureMemory},   {"codec", measureCodec},
    {"fetching", measureFetching},   {"polling", measurePolling}, {"range", measureRange},
    {"latency", measureLatency},     {"growth", measureGrowth}};

// The library prints each shot on standard output, which is a cost that counts but nothing to read here.
void discardStandardOutput() {
  const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
  ::dup2(nowhere, STDOUT_FILENO);
  ::close(nowhere);
}

Rows measureAll(const Setting& setting, const std::vector<std::string>& only) {
  Rows rows;
  for (const Section& section : sections) {
    if (!only.empty() && std::find(only.begin(), only.end(), section.name) == only.end()) continue;
    std::cerr << "bx-bench: " << section.name << '\n';
    for (Row& row : section.measure(setting)) rows.push_back(std::move(row));
  }
  return rows;
}

}  // namespace

int main(int argc, char** argv) {
  Setting setting;
  std::vector<std::string> only;
  std::string output;
  std::string profile;
  CLI::App app("Measures the library side by side with what bounds it.", "bx-bench");
  app.add_option("--rounds", setting.rounds, "Interleaved rounds, of which medians are taken")
      ->check(CLI::Range(1, 1000))
      ->capture_default_str();
  app.add_option("--simulator", setting.simulator, "The program bx-sim")->required();
  app.add_option(
      "--only", only,
      "Sections: frames, paced, unpaced, downloads, memory, codec, fetching, polling, range, latency, growth");
  app.add_option("--output", output, "Write the table to this file");
  app.add_option("--profile", profile, "Run one of the profiled works and nothing else: download, stream, upload");
  CLI11_PARSE(app, argc, argv);
  try {
    discardStandardOutput();
    if (!profile.empty()) {
      runProfiled(profile, setting.simulator);
      return 0;
    }
    const Rows rows = measureAll(setting, only);
    std::ofstream file(output);
    writeTable(output.empty() ? std::cerr : file, rows, setting.rounds);
  } catch (const std::exception& error) {
    std::cerr << "bx-bench: " << error.what() << '\n';
    return 1;
  }
  return 0;
}
