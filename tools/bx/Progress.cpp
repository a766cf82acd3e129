#include "Progress.h"

#include <algorithm>

#include "bx/BXSerialLink.h"

namespace BX::tool {

namespace {

constexpr std::chrono::milliseconds redrawInterval{100};
// Requests of a download that come before the first page: the transfer mode and the table of pages.
constexpr std::uint64_t requestsBeforePages = 2;

// The page counts of the six blocks: every second byte of the table from the fifth on.
std::size_t countPages(const std::vector<unsigned char>& table) {
  constexpr std::size_t first = 4;
  constexpr std::size_t last = 14;
  std::size_t pages = 0;
  for (std::size_t i = first; i <= last && i < table.size(); i += 2) pages += table[i];
  return pages;
}

}  // namespace

std::string progressBar(std::size_t done, std::size_t total) {
  constexpr std::size_t width = 40;
  const std::size_t filled = total == 0 ? width : width * std::min(done, total) / total;
  return '[' + std::string(filled, '#') + std::string(width - filled, '.') + "] " +
         std::to_string(std::min(done, total)) + " of " + std::to_string(total) + " pages";
}

DownloadProgress::DownloadProgress(Console& console, Connection& connection)
    : console_(console), port_(connection.port()) {
  if (!console.drawsProgress()) return;
  auto& link = connection.device().getSerialCom();
  link.sendDeviceInfoCommand(BXSerialCom::DEVICE_INFO_STORED_RESULTS,
                             [&] { pages_ = countPages(link.getReceivedBytes()); });
  sentBefore_ = link::statistics(port_).payloadsSent + requestsBeforePages;
  thread_ = std::thread([this] { draw(); });
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
    const auto sent = link::statistics(port_).payloadsSent;
    console_.progress(progressBar(sent > sentBefore_ ? sent - sentBefore_ : 0, pages_));
  } while (!changed_.wait_for(lock, redrawInterval, [this] { return over_; }));
}

}  // namespace BX::tool
