// bx-faults: the whole fault matrix, the soak and the failing calls; writes the tables of the page of all.
#include <unistd.h>

#include <CLI/CLI.hpp>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "faults/Page.h"

namespace {

using namespace BX::faults;

constexpr unsigned hangLimit = 60;  // seconds
std::array<char, 200> current{};

// A cell that hangs is named before the program ends.
void onAlarm(int) { _exit(::write(STDERR_FILENO, current.data(), std::strlen(current.data())) < 0 ? 2 : 1); }

void watch(const std::string& what) {
  std::snprintf(current.data(), current.size(), "bx-faults: hangs in %s\n", what.c_str());
  ::alarm(hangLimit);
}

void runMatrix(Report& report) {
  useTimeouts();
  for (const Exchange& exchange : exchanges()) {
    std::cerr << exchange.name << '\n';
    watch(exchange.name);
    const Expected expected = expectedOf(exchange);
    for (const auto& rule : expected.rules) {
      watch(exchange.name + ", " + textOf(rule));
      report.cells.push_back(runCell(exchange, expected, rule));
      const Cell& cell = report.cells.back();
      if (cell.outcome == Outcome::Wrong) std::cerr << "  " << textOf(rule) << ": " << cell.wrong << '\n';
    }
  }
  ::alarm(0);
}

}  // namespace

int main(int argc, char** argv) {
  std::string page = "docs/reliability.md";
  std::size_t records = 1'000'000;
  std::size_t downloads = 200;
  std::vector<std::string> calls;
  CLI::App app("Every exchange under every fault, long runs on a bad line, and every system call failing.",
               "bx-faults");
  app.add_option("--page", page, "Whose tables to write anew")->capture_default_str();
  app.add_option("--records", records, "To stream in the soak")->capture_default_str();
  app.add_option("--downloads", downloads, "In the soak")->capture_default_str();
  app.add_option("--calls", calls, "PORT FIRST VARIANT: only the road with failing calls; for this program itself")
      ->expected(3);
  CLI11_PARSE(app, argc, argv);
  if (!calls.empty()) return runFailingCalls(calls[0], std::stoul(calls[1]), std::stoul(calls[2]));
  std::signal(SIGALRM, onAlarm);
  try {
    std::ostringstream text;
    text << std::ifstream(page).rdbuf();
    Report report;
    filled(text.str(), report);  // now, rather than when all is done
    runMatrix(report);
    std::cerr << "soak\n";
    report.stream = soakStream(records);
    report.downloads = soakDownloads(downloads);
    report.calls = failEachCall();
    std::ofstream(page) << filled(text.str(), report);
    return wrongIn(report) == 0 ? 0 : 1;
  } catch (const std::exception& error) {
    std::cerr << "bx-faults: " << error.what() << '\n';
    return 1;
  }
}
