// Stored sessions: how fast they come over a line, what they take in memory, and how both grow.
#include <malloc.h>

#include <cmath>
#include <stdexcept>

#include "bench/Line.h"
#include "bench/Sections.h"
#include "bench/Sessions.h"
#include "simulator/DeviceWire.h"
#include "tests/support/LoopbackDevice.h"

namespace BX::bench {

namespace {

using namespace std::chrono_literals;
using Records = std::vector<BXDevice::Json>;

sim::Options storing(std::vector<sim::StoredRecord> stored, sim::Options options = {}) {
  options.stored = std::move(stored);
  options.keepTranscript = false;
  return options;
}

Records download(BXDevice& device, std::size_t expected) {
  device.sendDownloadFrame();
  Records records = device.getTrainingFrames();
  if (records.size() != expected) throw std::runtime_error("a download lost records");
  return records;
}

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

Row measurePaced(const Setting& setting, std::chrono::milliseconds latency, const std::string& what) {
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

// ---- In memory

// As many records to a page as it takes to hold them all in the blocks that a device has.
std::size_t pagesFor(std::size_t records) {
  constexpr std::size_t allPages = std::size_t{sim::wire::storedBlocks} * sim::wire::maxPages;
  return std::min(allPages, records / 13);
}

std::size_t bytesInUse() {
  const auto info = ::mallinfo2();
  return info.uordblks + info.hblkhd;
}

Row measureMemory() {
  constexpr std::size_t records = 20'000;
  const test::LoopbackDevice far(storing(storedSession(records, pagesFor(records))));
  BXDevice device;
  connect(device, far.port);
  download(device, records);  // what is held from now on is no part of a record
  device.clearTrainingFrames();
  const std::size_t before = bytesInUse();
  const Records copy = download(device, records);
  const double each = static_cast<double>(bytesInUse() - before) / (2.0 * records);
  return {.what = "20,000 records held after a download",
          .against = "bytes of memory a record and copy",
          .bar = Bar::AtMost,
          .limit = 1.5,
          .got = each / 1024,
          .unit = "KiB",
          .detail = rounded(each * 2 * records / 1e6) + " MB for the device's records and one copy of them"};
}

Row measureGrowth(const Setting& setting) {
  const std::vector<std::size_t> sizes{1000, 2000, 5000, 10'000, 20'000};
  std::vector<std::function<double()>> alternatives;
  std::vector<std::unique_ptr<test::LoopbackDevice>> far;
  std::vector<std::unique_ptr<BXDevice>> devices;
  for (const std::size_t size : sizes) {
    const std::string port = "download of " + std::to_string(size);
    far.push_back(std::make_unique<test::LoopbackDevice>(storing(storedSession(size, pagesFor(size))), port));
    devices.push_back(std::make_unique<BXDevice>());
    connect(*devices.back(), port);
    alternatives.emplace_back([&device = *devices.back(), size] {
      Records records;
      return secondsOf([&] { records = download(device, size); });
    });
  }
  const auto samples = interleave(setting.rounds, alternatives);
  std::string detail = "µs a record:";
  double farthest = 0;
  const double first = median(samples[0]) / static_cast<double>(sizes[0]);
  for (std::size_t i = 0; i < sizes.size(); ++i) {
    const double each = median(samples[i]) / static_cast<double>(sizes[i]);
    farthest = std::max(farthest, std::abs(each / first - 1));
    detail += (i == 0 ? " " : ", ") + rounded(each * 1e6) + " at " + std::to_string(sizes[i]);
  }
  return {.what = "download of n records, n = 1,000 … 20,000, time a record",
          .against = "the same at n = 1,000 (unpaced)",
          .bar = Bar::AtMost,
          .limit = 10,
          .got = farthest * 100,
          .unit = "% away",
          .detail = detail};
}

}  // namespace

Rows measureDownloads(const Setting& setting) {
  return {measurePaced(setting, 1ms,
                       "stored-session download, 2,000 records in 153 pages, paced 115200 baud, 1 ms adapter"),
          measurePaced(setting, 16ms, "the same with a 16 ms adapter"), measureMemory(), measureGrowth(setting)};
}

}  // namespace BX::bench
