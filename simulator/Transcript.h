// The payloads that were delivered, as lines of text. Any thread.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <span>
#include <string>
#include <vector>

namespace BX::sim {

class Transcript {
 public:
  // `sink`, when given, gets each line as it is added. Without `keep` nothing is held for lines() and await().
  Transcript(std::function<void(const std::string&)> sink, bool keep) : sink_(std::move(sink)), keep_(keep) {}

  void addFromHost(std::span<const std::uint8_t> payload) { add("> ", payload); }
  void addToHost(std::span<const std::uint8_t> payload) { add("< ", payload); }

  std::vector<std::string> lines() const;
  bool await(const std::string& prefix, std::size_t count, std::chrono::milliseconds timeout) const;

 private:
  void add(const char* direction, std::span<const std::uint8_t> payload);

  const std::function<void(const std::string&)> sink_;
  const bool keep_;
  mutable std::mutex mutex_;
  mutable std::condition_variable grown_;
  std::vector<std::string> lines_;
};

}  // namespace BX::sim
