// One of several simulated devices in a process: a device on a terminal of its own, and the files that go with it.
// Posix only.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "simulator/PublishedLink.h"
#include "simulator/Simulator.h"

namespace BX::sim {

// `pattern` with the lane's number in the place of each "%d"; lanes count from 0.
std::string laneName(const std::string& pattern, unsigned lane);
// Whether `pattern` gives each lane a name of its own.
bool tellsLanesApart(const std::string& pattern);

class Lane {
 public:
  struct Files {
    std::string link;        // pattern of the symbolic link; empty: none
    std::string transcript;  // pattern of the file; empty: none
    bool overwrite = false;  // a transcript that is not empty may be replaced
    // Called on the simulator's thread with one line, once for each lane, when the transcript cannot be written any
    // further. The device goes on without; what stands in the file has no gap.
    std::function<void(const std::string& reason)> transcriptFailed = {};
  };

  // Each lane has a seed of its own, counted from the one of `options`. Throws platform::OutputError when the
  // transcript cannot be begun, and std::runtime_error.
  Lane(unsigned number, Options options, const Files& files);
  ~Lane();
  Lane(const Lane&) = delete;
  Lane& operator=(const Lane&) = delete;
  // The terminal's own name.
  const std::string& name() const { return name_; }

 private:
  class TranscriptFile;

  std::unique_ptr<TranscriptFile> transcript_;  // null: none
  std::string name_;
  std::optional<Simulator> simulator_;
  std::optional<PublishedLink> link_;
};

}  // namespace BX::sim
