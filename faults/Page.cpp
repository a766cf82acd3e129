#include "faults/Page.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <numeric>
#include <string>

namespace BX::faults {

namespace {

using sim::FaultEffect;

constexpr std::array columns{FaultEffect::Drop,   FaultEffect::Duplicate, FaultEffect::Corrupt,
                             FaultEffect::Cut,    FaultEffect::Delay,     FaultEffect::Bytewise,
                             FaultEffect::Refuse, FaultEffect::Restart,   FaultEffect::HangUp};

template <typename Predicate>
std::size_t countOf(const Report& report, const Predicate& predicate) {
  return static_cast<std::size_t>(std::count_if(report.cells.begin(), report.cells.end(), predicate));
}

std::size_t countOf(const Report& report, Outcome outcome) {
  return countOf(report, [outcome](const Cell& cell) { return cell.outcome == outcome; });
}

std::string fixed(double value, int digits) {
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%.*f", digits, value);
  return text.data();
}

std::string thousands(std::uint64_t number) {
  const std::string digits = std::to_string(number);
  std::string text;
  for (std::size_t i = 0; i < digits.size(); ++i) {
    if (i > 0 && (digits.size() - i) % 3 == 0) text += ',';
    text += digits[i];
  }
  return text;
}

std::string megabytes(std::size_t bytes) { return fixed(static_cast<double>(bytes) / 1e6, 1) + " MB"; }

std::string entry(const Report& report, const Exchange& exchange, FaultEffect effect) {
  std::array<std::size_t, 4> counts{};  // by Outcome
  for (const Cell& cell : report.cells) {
    if (cell.exchange == &exchange && cell.rule.effect == effect) ++counts[static_cast<std::size_t>(cell.outcome)];
  }
  const auto& [recovered, failed, either, wrong] = counts;
  if (recovered + failed + wrong == 0) return "–";
  std::string text = std::to_string(recovered) + " / " + std::to_string(failed);
  if (wrong > 0) text += " **" + std::to_string(wrong) + " wrong**";
  return text;
}

void writeMatrix(std::ostream& out, const Report& report) {
  out << "| Exchange |";
  for (const FaultEffect effect : columns) out << ' ' << nameOf(effect) << " |";
  out << "\n|---|";
  for (std::size_t i = 0; i < columns.size(); ++i) out << "---|";
  out << '\n';
  for (const Exchange& exchange : exchanges()) {
    out << "| " << exchange.name << " |";
    for (const FaultEffect effect : columns) out << ' ' << entry(report, exchange, effect) << " |";
    out << '\n';
  }
}

void writeFigures(std::ostream& out, const Report& report) {
  const auto longest = std::max_element(report.cells.begin(), report.cells.end(),
                                        [](const Cell& a, const Cell& b) { return a.time < b.time; });
  const auto struckLate = [](const Cell& cell) { return cell.tries > 1; };
  out << "| Figure | |\n|---|---|\n";
  out << "| cells | " << thousands(report.cells.size()) << " |\n";
  out << "| recovered: reported done, with the result of a run without faults | " << countOf(report, Outcome::Recovered)
      << " |\n";
  out << "| failed clean: reported failed, with a reason, the device object as its header says | "
      << countOf(report, Outcome::Failed) << " |\n";
  out << "| run a second time, since a busy machine can outlast the short time-outs | "
      << countOf(report, [](const Cell& cell) { return cell.lapsed; }) << " |\n";
  out << "| **wrong**: anything else; twice not recovered, or not struck | " << countOf(report, Outcome::Wrong)
      << " |\n";
  out << "| the next exchange worked at once | " << countOf(report, [&](const Cell& cell) { return !struckLate(cell); })
      << " |\n";
  out << "| … after it had told of a restart or hang-up behind the end of the one before | "
      << countOf(report, struckLate) << " |\n";
  if (longest != report.cells.end()) {
    out << "| longest time of an exchange under a fault | " << fixed(longest->time.count(), 0) << " ms ("
        << longest->exchange->name << ", `" << textOf(longest->rule) << "`) |\n";
  }
  out << "| the whole matrix | " << fixed(report.matrixTime.count(), 0) << " s |\n";
}

void writeWrong(std::ostream& out, const Report& report) {
  for (const Cell& cell : report.cells) {
    if (cell.outcome != Outcome::Wrong) continue;
    out << "\n- **" << cell.exchange->name << "**, `" << textOf(cell.rule) << "`: " << cell.wrong << '\n';
  }
}

void writeSoak(std::ostream& out, const std::string& name, const SoakResult& soak) {
  out << "| " << name << " | " << thousands(soak.records) << " | " << fixed(soak.time.count(), 0) << " s | "
      << thousands(soak.framesReceived) << " | " << thousands(soak.framesDamaged) << " | "
      << thousands(soak.framesResent) << " | " << megabytes(soak.residentEarly) << " → " << megabytes(soak.residentLate)
      << " | " << (soak.wrong.empty() ? "every record once, in order" : soak.wrong) << " |\n";
}

void writeCalls(std::ostream& out, const CallsResult& calls) {
  out << "| Call | failing | road done | road failed, sound afterwards | wake-up lost | **wrong** "
         "|\n|---|---|---|---|---|---|\n";
  std::size_t total = 0;
  for (const auto& [name, counts] : calls.outcomes) {
    const std::size_t failing = std::accumulate(counts.begin(), counts.end(), std::size_t{0});
    total += failing;
    out << "| " << name << " | " << failing << " |";
    for (const std::size_t number : counts) out << ' ' << number << " |";
    out << '\n';
  }
  out << "\n" << thousands(total) << " failing calls in " << fixed(calls.time.count(), 0) << " s.\n";
  for (const std::string& what : calls.broken) out << "\n- " << what << '\n';
}

}  // namespace

std::size_t wrongIn(const Report& report) {
  return countOf(report, Outcome::Wrong) + (report.stream.wrong.empty() ? 0U : 1U) +
         (report.downloads.wrong.empty() ? 0U : 1U) + report.calls.broken.size();
}

void writePage(std::ostream& out, const Report& report) {
  out << R"(# Reliability

Written by `./scripts/faults`, which runs all that stands here and ends with status 1 when any of it is wrong.

## Every exchange under every fault

A device object and a simulated device on one line in memory; resend time 5 ms, five sends, 250 ms for an answer. A cell
is one exchange with one fault at the first, the middle or the last frame of a kind (the session's begin, the exchange's
own payloads, acknowledgements) in one direction, told by a rule of `bx-sim --fault` (docs/link.md). Afterwards the line is
sound again (a cut one comes back), and the exchange must work and bring the right result. `refuse` strikes payloads; a
restart or a hang-up that strikes behind the end of an exchange is told by the next one.

Recovered / failed clean:

)";
  writeMatrix(out, report);
  out << '\n';
  writeFigures(out, report);
  writeWrong(out, report);
  out << R"(
A failure is clean when the operation reports it, the last error tells why, the device has executed no request twice and
none out of order, a failed download has left no records and a broken stream has delivered the records before the break
without a gap.

## Soak

One frame in )"
      << noiseEvery << R"( is lost, doubled or damaged in each direction; resend time 5 ms, ten sends.

| Run | Records | Time | Frames to the host | of them damaged | Host's resends | Resident memory, after a tenth → at the end | Result |
|---|---|---|---|---|---|---|---|
)";
  writeSoak(out, "one stream", report.stream);
  writeSoak(out, std::to_string(report.downloads.downloads) + " downloads of a full memory", report.downloads);
  out << R"(
## Every system call failing once

A host goes the whole road (connect, settings, targets, a training, a download, a clear, disconnect) on a pseudo-terminal,
and one system call of it fails: the first with each of ten errors in turn, then the second, and so on. The road is done
or fails; then the same process goes it again without a fault, which must work. Nothing may hang or crash, with one
exception that nothing outside Boost.Asio can help: when a call fails that registers or signals the event descriptor
(`eventfd`) with which it wakes its own threads, a thread may sleep on.

)";
  writeCalls(out, report.calls);
}

}  // namespace BX::faults
