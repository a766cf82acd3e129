// One of several simulated devices in a process: a device on a terminal of its own, and the files that go with it.
// Posix only.
#pragma once

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
  };

  // Each lane has a seed of its own, counted from the one of `options`. Throws std::runtime_error.
  Lane(unsigned number, const Options& options, const Files& files);
  // The terminal's own name.
  const std::string& name() const { return name_; }

 private:
  Lane(unsigned number, Options options, const Files& files, std::unique_ptr<PtyLine> line);

  std::string name_;
  Simulator simulator_;
  std::optional<PublishedLink> link_;
};

}  // namespace BX::sim
