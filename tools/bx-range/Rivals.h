// Whether another archive confirms in this range, told by the confirmations that are retained: each run of an archive
// has a random number, which stands in all of its own.
#pragma once

#include <cstdint>
#include <map>
#include <random>
#include <set>
#include <string>

namespace BX::range {

class Rivals {
 public:
  std::uint64_t own() const { return own_; }

  // A confirmation of this run of an archive has come on this topic. True when it was written over one of ours. A
  // broker that lost its memory may bring back what stood there before ours: that was written by an earlier run.
  bool tells(const std::string& topic, std::uint64_t archive) {
    auto& [isOurs, earlier] = topics_[topic];
    if (archive == own_) {
      isOurs = true;
    } else if (!isOurs) {
      earlier.insert(archive);
    }
    return archive != own_ && !earlier.contains(archive);
  }

 private:
  struct Writers {
    bool isOurs = false;  // we have written there
    std::set<std::uint64_t> earlier;
  };

  const std::uint64_t own_ = std::random_device()();
  std::map<std::string, Writers> topics_;
};

}  // namespace BX::range
