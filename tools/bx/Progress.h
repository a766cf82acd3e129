// A progress bar for what takes long, drawn on a terminal while the object lives, and wiped at its end.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <thread>

#include "Connection.h"

namespace BX::tool {

// "[#####.....] 5 of 10 pages"
std::string progressBar(std::size_t done, std::size_t total, const std::string& units);

class Progress {
 public:
  // Draws how many pages of the stored results, or frames of a silhouette target, have been transferred, as soon as the
  // device object tells it, when standard error is a terminal.
  Progress(Console& console, Connection& connection);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

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
