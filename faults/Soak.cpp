#include "faults/Soak.h"

#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <thread>
#include <vector>

#include "faults/Rig.h"

namespace BX::faults {

namespace {

using Clock = std::chrono::steady_clock;

constexpr double asFastAsItGoes = 1e6;
constexpr auto pollInterval = std::chrono::milliseconds(2);
// A line this bad loses a frame more often in a row, and a soak outlasts a machine that is busy elsewhere.
constexpr link::Options soakTimeouts{.baud = 0, .resend = resendTime, .sends = 10};

std::size_t residentBytes() {
  std::ifstream file("/proc/self/statm");
  std::size_t size = 0;
  std::size_t resident = 0;
  file >> size >> resident;
  return resident * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

// Whether the documents are the records that follow number `next`; counts them.
bool inOrder(const std::vector<MORVA::MORVADataTypeJSON>& documents, std::size_t& next) {
  return std::all_of(documents.begin(), documents.end(),
                     [&next](const auto& document) { return indexOf(document) == next++; });
}

// Begins, and runs `step` until `count` are done or something is wrong.
SoakResult soak(sim::Options options, std::size_t SoakResult::*done, std::size_t count,
                const std::function<void(Rig&)>& begin, const std::function<void(Rig&, SoakResult&)>& step) {
  useTimeouts(soakTimeouts);
  options.noise = sim::Noise{noiseEvery, 1};
  options.keepTranscript = false;
  options.rate = asFastAsItGoes;
  Rig rig(std::move(options));
  SoakResult result;
  const auto start = Clock::now();
  if (rig.com().openPort()) begin(rig);
  result.wrong = rig.error();
  while (result.*done < count && result.wrong.empty()) {
    step(rig, result);
    if (result.residentEarly == 0 && result.*done * 10 >= count) result.residentEarly = residentBytes();
  }
  result.time = Clock::now() - start;
  result.residentLate = residentBytes();
  const auto statistics = link::statistics(rig.port());
  result.framesReceived = statistics.framesReceived;
  result.framesResent = statistics.framesResent;
  result.framesDamaged = statistics.framesDamaged;
  rig.device.setDeviceMode(BXSerialCom::RESTING, true);
  rig.device.stopThread();
  while (rig.com().getStreaming()) std::this_thread::sleep_for(pollInterval);
  if (rig.device.trainingFrameCount() > 0) result.wrong = "records after the last one";
  return result;
}

}  // namespace

SoakResult soakStream(std::size_t records) {
  sim::Options options;
  options.stream.emplace();
  for (std::size_t i = 0; i < records; ++i) options.stream->push_back(measurement(i));
  const auto begin = [](Rig& rig) { rig.device.startThread(); };
  return soak(std::move(options), &SoakResult::records, records, begin, [records](Rig& rig, SoakResult& result) {
    const bool over = !rig.com().getStreaming();
    if (!inOrder(rig.device.takeTrainingFrames(), result.records)) {
      result.wrong = "record " + std::to_string(result.records) + " is missing or comes twice";
    } else if (over && result.records < records) {
      result.wrong = "the stream ended after " + std::to_string(result.records) + " records: " + rig.error();
    }
    std::this_thread::sleep_for(pollInterval);
  });
}

SoakResult soakDownloads(std::size_t downloads) {
  sim::Options options;
  constexpr std::size_t recordsPerPage = 13;
  for (std::size_t i = 0; i < recordsInMemory; ++i) {
    const std::size_t page = i / recordsPerPage;
    options.stored.push_back(
        {static_cast<std::uint8_t>(page / 255), static_cast<std::uint8_t>(page % 255), measurement(i)});
  }
  const auto begin = [](Rig& rig) { rig.device.setDeviceMode(BXSerialCom::TRANSFER, false); };
  return soak(std::move(options), &SoakResult::downloads, downloads, begin, [](Rig& rig, SoakResult& result) {
    rig.device.sendDownloadFrame();
    std::size_t next = 0;
    const bool sound = inOrder(rig.device.takeTrainingFrames(), next) && next == recordsInMemory;
    const std::string download = "download " + std::to_string(++result.downloads) + ": ";
    if (rig.device.hasError()) {
      result.wrong = download + rig.error();
    } else if (!sound) {
      result.wrong = download + "reported done, but record " + std::to_string(next) + " is missing or comes twice";
    }
    result.records += next;
  });
}

}  // namespace BX::faults
