#include "bench/Profile.h"

#include <unistd.h>
#include <valgrind/callgrind.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <stdexcept>
#include <thread>

#include "bench/Lanes.h"
#include "bench/Line.h"
#include "bench/Sessions.h"
#include "platform/Hex.h"
#include "platform/time/TimeSeam.h"

namespace BX::bench {

namespace {

using namespace std::chrono_literals;

constexpr std::size_t records = 2000;
constexpr std::size_t pages = 153;

// A file of stored records as bx-sim reads it, for as long as this object.
class StoredFile {
 public:
  StoredFile() : path_(std::filesystem::temp_directory_path() / ("bx-bench-stored-" + std::to_string(::getpid()))) {
    std::ofstream file(path_);
    for (const auto& [block, page, payload] : storedSession(records, pages)) {
      file << int{block} << ' ' << int{page} << ' ' << platform::hexOf(payload) << '\n';
    }
  }
  ~StoredFile() { std::filesystem::remove(path_); }
  StoredFile(const StoredFile&) = delete;
  StoredFile& operator=(const StoredFile&) = delete;
  std::string path() const { return path_.string(); }

 private:
  std::filesystem::path path_;
};

void download(BXDevice& device) {
  CALLGRIND_START_INSTRUMENTATION;
  device.sendDownloadFrame();
  if (device.hasError()) throw std::runtime_error("the download failed");
}

void stream(BXDevice& device) {
  CALLGRIND_START_INSTRUMENTATION;
  device.startThread();
  for (std::size_t seen = 0; seen < records; seen += device.getTrainingFrames().size()) {
    std::this_thread::sleep_for(50ms);
  }
  device.setDeviceMode(BXSerialCom::RESTING, true);
  device.stopThread();
}

void upload(BXDevice& device) {
  constexpr int times = 10;
  auto ring = exampleDocument("ring-25m-precision-pistol.json");
  auto silhouette = exampleDocument("silhouette-torso.json");
  CALLGRIND_START_INSTRUMENTATION;
  for (int i = 0; i < times; ++i) {
    if (!device.uploadRingTarget(ring) || !device.uploadSilhouetteTarget(silhouette)) {
      throw std::runtime_error("an upload failed");
    }
  }
}

}  // namespace

void runProfiled(const std::string& work, const std::string& simulator) {
  const std::map<std::string, void (*)(BXDevice&)> works{
      {"download", download}, {"stream", stream}, {"upload", upload}};
  const auto found = works.find(work);
  if (found == works.end()) throw std::runtime_error("no such work: " + work);
  platform::replaceTime({[](std::chrono::milliseconds) {}, {}});
  // Under the profiler everything is slow but the far end.
  link::Options options;
  options.reply = 60s;
  options.resend = 5s;
  link::setOptions(options);
  const StoredFile stored;
  const Lanes far(simulator, 1, {"--stored", stored.path(), "--rate", "200"});
  BXDevice device;
  connect(device, far.ports().front());
  found->second(device);
  CALLGRIND_STOP_INSTRUMENTATION;
}

}  // namespace BX::bench
