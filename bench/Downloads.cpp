// Stored sessions: how fast they come over a line, and what they take in memory.
#include <malloc.h>

#include "bench/Line.h"
#include "bench/Sections.h"
#include "bench/Sessions.h"
#include "bench/Stored.h"
#include "tests/support/LoopbackDevice.h"

namespace BX::bench {

namespace {

using namespace std::chrono_literals;
// ---- Over a line

constexpr std::size_t pacedRecords = 2000;
constexpr std::size_t pacedPages = 153;

// The bytes of the requests and their answers; acknowledgements that travel beside an answer take no time of the line.
std::size_t framedBytes(const std::vector<sim::StoredRecord>& stored) {
  const sim::Bytes pageTableRequest(3);
  const sim::Bytes pageTable(15);
  const sim::Bytes pageRequest(4);
  const sim::Bytes pageEnd(2);
  std::size_t bytes =
      framed(pageTableRequest) + framed(pageTable) + pacedPages * (framed(pageRequest) + framed(pageEnd));
  for (const auto& record : stored) bytes += framed(record.payload);
  return bytes;
}

Row overLine(const Setting& setting, std::chrono::milliseconds latency, const std::string& what) {
  const auto stored = storedSession(pacedRecords, pacedPages);
  const PtyDevice far(storing(stored, paced(latency)));
  BXDevice device;
  connect(device, far.name());
  const auto samples = interleave(setting.rounds, {[&] { return secondsOf([&] { download(device, pacedRecords); }); }});
  const double seconds = median(samples[0]);
  const std::size_t bytes = framedBytes(stored);
  const double line = secondsOnLine(bytes) + pacedPages * std::chrono::duration<double>(latency).count();
  return {.what = what,
          .against = "its framed bytes × 10 / baud, plus one adapter latency a page",
          .bar = Bar::AtMost,
          .limit = 1.1,
          .got = seconds / line,
          .unit = "",
          .detail = rounded(seconds) + " s against " + rounded(line) + " s for " + std::to_string(bytes) + " bytes"};
}

}  // namespace

Rows measureDownloads(const Setting& setting) {
  return {
      overLine(setting, 1ms, "stored-session download, 2,000 records in 153 pages, paced 115200 baud, 1 ms adapter"),
      overLine(setting, 16ms, "the same with a 16 ms adapter")};
}

// ---- In memory

namespace {

std::size_t bytesInUse() {
  const auto info = ::mallinfo2();
  return info.uordblks + info.hblkhd;
}

}  // namespace

Rows measureMemory(const Setting&) {
  constexpr std::size_t records = 20'000;
  const test::LoopbackDevice far(storing(storedSession(records, pagesFor(records))));
  BXDevice device;
  connect(device, far.port);
  download(device, records);  // what is held from now on is no part of a record
  device.clearTrainingFrames();
  const std::size_t before = bytesInUse();
  const Records copy = download(device, records);
  const double each = static_cast<double>(bytesInUse() - before) / (2.0 * records);
  return {{.what = "20,000 records held after a download",
           .against = "bytes of memory a record and copy",
           .bar = Bar::AtMost,
           .limit = 1.5,
           .got = each / 1024,
           .unit = "KiB",
           .detail = rounded(each * 2 * records / 1e6) + " MB for the device's records and one copy of them"}};
}

}  // namespace BX::bench
