// bx-faults: the whole fault matrix, the soak and the failing calls; writes the tables of the page of all.
#include <unistd.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <numeric>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "faults/Cell.h"
#include "faults/FailingCalls.h"
#include "faults/Soak.h"

namespace {

using namespace BX;
using namespace BX::faults;

struct Report {
  std::vector<Cell> cells;
  SoakResult stream;
  SoakResult downloads;
  CallsResult calls;
};

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

template <typename... Entries>
std::string row(const Entries&... entries) {
  std::ostringstream text;
  ((text << "| " << entries << ' '), ...) << "|\n";
  return text.str();
}

template <typename Predicate>
std::size_t countOf(const Report& report, const Predicate& predicate) {
  return static_cast<std::size_t>(std::count_if(report.cells.begin(), report.cells.end(), predicate));
}

std::size_t countOf(const Report& report, Outcome outcome) {
  return countOf(report, [outcome](const Cell& cell) { return cell.outcome == outcome; });
}

// Recovered and failed clean.
std::string entry(const Report& report, const Exchange& exchange, sim::FaultEffect effect) {
  const auto count = [&](Outcome outcome) {
    return countOf(report, [&](const Cell& cell) {
      return cell.exchange == &exchange && cell.rule.effect == effect && cell.outcome == outcome;
    });
  };
  const auto wrong = count(Outcome::Wrong);
  return std::to_string(count(Outcome::Recovered)) + " / " + std::to_string(count(Outcome::Failed)) +
         (wrong > 0 ? " **" + std::to_string(wrong) + " wrong**" : "");
}

std::string matrix(const Report& report) {
  std::string rows;
  for (const Exchange& exchange : exchanges()) {
    rows += "| " + exchange.name + " |";
    for (const auto effect : effects) rows += ' ' + entry(report, exchange, effect) + " |";
    rows += '\n';
  }
  for (const Cell& cell : report.cells) {
    if (cell.outcome == Outcome::Wrong) rows += row("**" + cell.exchange->name + "**", textOf(cell.rule), cell.wrong);
  }
  return rows;
}

std::string figures(const Report& report) {
  Milliseconds longest{};
  for (const Cell& cell : report.cells) longest = std::max(longest, cell.time);
  const auto late = countOf(report, [](const Cell& cell) { return cell.tries > 1; });
  return row("cells", report.cells.size()) +
         row("recovered: reported done, with the result of a run without faults", countOf(report, Outcome::Recovered)) +
         row("failed clean: reported failed, with a reason, the device object as its header says",
             countOf(report, Outcome::Failed)) +
         row("run a second time, since a busy machine can outlast the short time-outs",
             countOf(report, [](const Cell& cell) { return cell.lapsed; })) +
         row("**wrong**: anything else; twice not recovered, or not struck", countOf(report, Outcome::Wrong)) +
         row("the next exchange worked at once", report.cells.size() - late) +
         row("… after it had told of a restart or hang-up behind the end of the one before", late) +
         row("longest time of an exchange under a fault, in ms", std::lround(longest.count()));
}

std::string soak(const std::string& name, const SoakResult& result) {
  constexpr std::size_t megabyte = 1'000'000;
  return row(name, result.records, std::lround(result.time.count()), result.framesReceived, result.framesDamaged,
             result.framesResent, result.residentEarly / megabyte, result.residentLate / megabyte,
             result.wrong.empty() ? "every record once, in order" : result.wrong);
}

std::string callRows(const CallsResult& calls) {
  std::string rows;
  for (const auto& [name, counts] : calls.outcomes) {
    const std::size_t failing = std::accumulate(counts.begin(), counts.end(), std::size_t{0});
    rows += row(name, failing, counts[0], counts[1], counts[2], counts[3]);
  }
  for (const std::string& what : calls.broken) rows += row("**" + what + "**");
  return rows;
}

// Cells, soaks and failing calls whose outcome is wrong.
std::size_t wrongIn(const Report& report) {
  return countOf(report, Outcome::Wrong) + (report.stream.wrong.empty() ? 0U : 1U) +
         (report.downloads.wrong.empty() ? 0U : 1U) + report.calls.broken.size();
}

// `page` with the rows of its tables anew. Throws std::runtime_error when it lacks a table.
std::string filled(std::string page, const Report& report) {
  const std::pair<std::string, std::string> tables[] = {
      {"Exchange", matrix(report)},
      {"Figure", figures(report)},
      {"Run", soak("one stream", report.stream) +
                  soak(std::to_string(report.downloads.downloads) + " downloads of a full memory", report.downloads)},
      {"Call", callRows(report.calls)}};
  for (const auto& [name, rows] : tables) {
    const auto head = page.find("\n| " + name + " |");
    const auto rule = page.find("\n|---|", head);
    if (rule == std::string::npos) throw std::runtime_error("the page has no table " + name);
    const auto begin = page.find('\n', rule + 1) + 1;
    page.replace(begin, page.find("\n\n", begin) + 1 - begin, rows);
  }
  return page;
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
