#include "Progress.h"

#include <algorithm>

namespace BX::tool {

namespace {

constexpr std::chrono::milliseconds redrawInterval{100};

}  // namespace

std::string progressBar(std::size_t done, std::size_t total) {
  constexpr std::size_t width = 40;
  const std::size_t filled = total == 0 ? width : width * std::min(done, total) / total;
  return '[' + std::string(filled, '#') + std::string(width - filled, '.') + "] " +
         std::to_string(std::min(done, total)) + " of " + std::to_string(total) + " pages";
}

DownloadProgress::DownloadProgress(Console& console, Connection& connection)
    : console_(console), device_(connection.device()) {
  if (console.drawsProgress()) thread_ = std::thread([this] { draw(); });
}

DownloadProgress::~DownloadProgress() {
  if (!thread_.joinable()) return;
  {
    const std::scoped_lock lock(mutex_);
    over_ = true;
  }
  changed_.notify_all();
  thread_.join();
  console_.progress("");
}

void DownloadProgress::draw() {
  std::unique_lock lock(mutex_);
  do {
    const auto progress = device_.downloadProgress();
    if (progress.pages != 0) console_.progress(progressBar(progress.pagesDone, progress.pages));
  } while (!changed_.wait_for(lock, redrawInterval, [this] { return over_; }));
}

}  // namespace BX::tool
