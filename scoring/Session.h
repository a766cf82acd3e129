// A training session as its file tells it: the targets, then shots and measurements in the order in which they came.
#pragma once

#include <rapidjson/document.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "scoring/Face.h"

namespace BX::scoring {

using Milliseconds = std::chrono::milliseconds;

// How a shot's trace is told apart: what led to the last second, that second, its end, and what followed the shot.
inline constexpr Milliseconds shownBefore{3000};
inline constexpr Milliseconds lastSecond{1000};
inline constexpr Milliseconds lastMoments{200};
inline constexpr Milliseconds followThrough{500};

// What shots and measurements have in common. What a record lacks, or tells beyond all ranges, is missing here, too.
struct Sample {
  std::optional<Point> position;
  std::optional<Milliseconds> received;  // since the start of the session; a download has no times
  std::optional<int> tilt, rotation;     // sine times 1000
  unsigned flags = 0;                    // of bx_c.h: BX_LOW_SIGNAL and so on
};

struct Shot : Sample {
  std::size_t number = 0;                           // in the order of the session, from 1
  std::optional<int> ringTarget, silhouetteTarget;  // that it names; nothing for none
  std::optional<double> aimingTime;                 // seconds
  std::optional<int> rotationInDegrees, tiltInDegrees;
  std::size_t samplesBefore = 0;  // in the session
  std::size_t gapsBefore = 0;
};

class Session {
 public:
  // The header of a session file.
  explicit Session(const rapidjson::Value& header);

  // What came after the header, in its turn. False when it is neither shot nor measurement nor gap, and is left out.
  bool add(const rapidjson::Value& record);

  // In place of those that the header names.
  void setTarget(const rapidjson::Value& target);

  // One at least: without any, a face without anything.
  const std::vector<Face>& targets() const { return targets_; }
  const std::vector<Shot>& shots() const { return shots_; }
  const std::vector<Sample>& samples() const { return samples_; }
  const std::string& start() const { return start_; }
  const std::string& deviceName() const { return deviceName_; }  // serial number; empty when it is not known
  std::optional<int> bulletsInSeries() const { return bulletsInSeries_; }

  // The index of the target that the shot was fired at. Where the session has but one, a shot that names none belongs
  // to it; nothing for a shot that names another.
  std::optional<std::size_t> targetOf(const Shot& shot) const;

  // The samples of the last `time` before the shot, or of `followThrough` after it. Those that follow the shot before,
  // or lie beyond a gap or another shot, are none of its own. Nothing without times.
  std::span<const Sample> aimBefore(const Shot& shot, Milliseconds time) const;
  std::span<const Sample> followThroughOf(const Shot& shot) const;

 private:
  void addShot(const rapidjson::Value& record);
  std::size_t endOfFollowThrough(const Shot& shot) const;

  std::string start_;
  std::string deviceName_;
  std::optional<int> bulletsInSeries_;
  std::vector<Face> targets_;
  std::vector<Shot> shots_;
  std::vector<Sample> samples_;
  std::vector<std::size_t> gaps_;  // each before the sample of this index
};

// Of the samples that have one.
std::vector<Point> positionsOf(std::span<const Sample> samples);

}  // namespace BX::scoring
