#include "Progress.h"

#include <algorithm>

namespace BX::tool {

namespace {

constexpr std::chrono::milliseconds redrawInterval{100};

// What is under way: pages come before the targets that they name. Empty when the device object tells nothing.
std::string barOf(const BXDevice& device) {
  const auto download = device.downloadProgress();
  const auto silhouette = device.silhouetteProgress();
  if (download.pagesDone == download.pages && silhouette.exchangesDone < silhouette.exchanges) {
    return progressBar(silhouette.exchangesDone, silhouette.exchanges, "frames of the target");
  }
  return download.pages == 0 ? "" : progressBar(download.pagesDone, download.pages, "pages");
}

}  // namespace

std::string progressBar(std::size_t done, std::size_t total, const std::string& units) {
  constexpr std::size_t width = 40;
  const std::size_t filled = total == 0 ? width : width * std::min(done, total) / total;
  return '[' + std::string(filled, '#') + std::string(width - filled, '.') + "] " +
         std::to_string(std::min(done, total)) + " of " + std::to_string(total) + ' ' + units;
}

Progress::Progress(Console& console, Connection& connection) : console_(console), device_(connection.device()) {
  if (console.drawsProgress()) thread_ = std::thread([this] { draw(); });
}

Progress::~Progress() {
  if (!thread_.joinable()) return;
  {
    const std::scoped_lock lock(mutex_);
    over_ = true;
  }
  changed_.notify_all();
  thread_.join();
  console_.progress("");
}

void Progress::draw() {
  std::unique_lock lock(mutex_);
  do {
    const auto bar = barOf(device_);
    if (!bar.empty()) console_.progress(bar);
  } while (!changed_.wait_for(lock, redrawInterval, [this] { return over_; }));
}

}  // namespace BX::tool
