// A progress bar for a download, drawn on a terminal while the object lives.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <thread>

#include "Connection.h"

namespace BX::tool {

// "[#####.....] 5 of 10 pages"
std::string progressBar(std::size_t done, std::size_t total);

class DownloadProgress {
 public:
  // Draws as far as the device object tells how many pages there are, when standard error is a terminal.
  DownloadProgress(Console& console, Connection& connection);
  ~DownloadProgress();
  DownloadProgress(const DownloadProgress&) = delete;
  DownloadProgress& operator=(const DownloadProgress&) = delete;

 private:
  void draw();

  Console& console_;
  const BXDevice& device_;
  bool over_ = false;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::thread thread_;
};

}  // namespace BX::tool
