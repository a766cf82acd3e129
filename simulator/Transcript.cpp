#include "simulator/Transcript.h"

#include "platform/Hex.h"

namespace BX::sim {

void Transcript::add(const char* direction, std::span<const std::uint8_t> payload) {
  std::string line = direction + platform::hexOf(payload);
  if (sink_) sink_(line);
  if (!keep_) return;
  const std::scoped_lock lock(mutex_);
  lines_.push_back(std::move(line));
  grown_.notify_all();
}

std::vector<std::string> Transcript::lines() const {
  const std::scoped_lock lock(mutex_);
  return lines_;
}

bool Transcript::await(const std::string& prefix, std::size_t count, std::chrono::milliseconds timeout) const {
  std::size_t seen = 0;
  std::size_t found = 0;
  std::unique_lock lock(mutex_);
  return grown_.wait_for(lock, timeout, [&] {
    for (; seen < lines_.size(); ++seen) found += lines_[seen].starts_with(prefix);
    return found >= count;
  });
}

}  // namespace BX::sim
