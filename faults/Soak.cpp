#include "faults/Soak.h"

#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iostream>
#include <thread>
#include <vector>

#include "faults/Rig.h"

namespace BX::faults {

namespace {

using Clock = std::chrono::steady_clock;

constexpr double asFastAsItGoes = 1e6;
constexpr auto pollInterval = std::chrono::milliseconds(2);
// A line this bad loses a frame more often in a row, and a soak outlasts a machine that is busy elsewhere.
constexpr link::Options patience{.baud = 0, .resend = resendTime, .sends = 10};

std::size_t residentBytes() {
  std::ifstream file("/proc/self/statm");
  std::size_t size = 0;
  std::size_t resident = 0;
  file >> size >> resident;
  return resident * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

sim::Options noisy() {
  sim::Options options;
  options.noise = sim::Noise{noiseEvery, 1};
  options.keepTranscript = false;
  options.rate = asFastAsItGoes;
  return options;
}

void finish(SoakResult& result, Rig& rig, Clock::time_point start) {
  result.time = Clock::now() - start;
  result.residentLate = residentBytes();
  const auto statistics = link::statistics(rig.port());
  result.framesReceived = statistics.framesReceived;
  result.framesResent = statistics.framesResent;
  result.framesDamaged = statistics.framesDamaged;
}

// Whether the documents are the records that follow number `next`; counts them.
bool inOrder(const std::vector<MORVA::MORVADataTypeJSON>& documents, std::size_t& next) {
  return std::all_of(documents.begin(), documents.end(),
                     [&next](const auto& document) { return indexOf(document) == next++; });
}

}  // namespace

SoakResult soakStream(std::size_t records) {
  useTimeouts(patience);
  sim::Options options = noisy();
  options.stream.emplace();
  for (std::size_t i = 0; i < records; ++i) options.stream->push_back(measurement(i));
  Rig rig(std::move(options));
  SoakResult result;
  const auto start = Clock::now();
  if (rig.com().openPort()) rig.device.startThread();
  while (result.records < records && result.wrong.empty()) {
    const bool over = !rig.com().getStreaming();
    if (!inOrder(rig.device.takeTrainingFrames(), result.records)) {
      result.wrong = "record " + std::to_string(result.records) + " is missing or comes twice";
    } else if (over && result.records < records) {
      result.wrong = "the stream ended after " + std::to_string(result.records) + " records: " + rig.error();
    }
    if (result.residentEarly == 0 && result.records >= records / 10) result.residentEarly = residentBytes();
    std::this_thread::sleep_for(pollInterval);
  }
  finish(result, rig, start);
  rig.device.setDeviceMode(BXSerialCom::RESTING, true);
  rig.device.stopThread();
  while (rig.com().getStreaming()) std::this_thread::sleep_for(pollInterval);
  if (rig.device.trainingFrameCount() > 0) result.wrong = "records after the last one";
  return result;
}

SoakResult soakDownloads(std::size_t downloads) {
  useTimeouts(patience);
  sim::Options options = noisy();
  constexpr std::size_t recordsPerPage = 13;
  for (std::size_t i = 0; i < recordsInMemory; ++i) {
    const std::size_t page = i / recordsPerPage;
    options.stored.push_back(
        {static_cast<std::uint8_t>(page / 255), static_cast<std::uint8_t>(page % 255), measurement(i)});
  }
  Rig rig(std::move(options));
  SoakResult result;
  const auto start = Clock::now();
  if (!rig.com().openPort() || !rig.device.setDeviceMode(BXSerialCom::TRANSFER, false)) result.wrong = rig.error();
  while (result.downloads < downloads && result.wrong.empty()) {
    rig.device.sendDownloadFrame();
    std::size_t next = 0;
    const bool sound = inOrder(rig.device.getTrainingFrames(), next);
    if (rig.device.hasError()) {
      result.wrong = rig.error();
    } else if (!sound || next != recordsInMemory) {
      result.wrong = "reported done, but record " + std::to_string(next) + " is missing or comes twice";
    } else {
      ++result.downloads;
      result.records += next;
    }
    if (result.residentEarly == 0 && result.downloads * 10 >= downloads) result.residentEarly = residentBytes();
  }
  if (!result.wrong.empty()) result.wrong = "download " + std::to_string(result.downloads + 1) + ": " + result.wrong;
  finish(result, rig, start);
  return result;
}

}  // namespace BX::faults
