#include "scoring/Session.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "bx/DocumentKeys.h"
#include "bx/bx_c.h"
#include "scoring/Members.h"

namespace BX::scoring {

namespace {

// No shot is aimed at for longer.
constexpr double longestAim = 1e9;

std::optional<Milliseconds> timeOf(const rapidjson::Value& record) {
  const rapidjson::Value& received = memberOf(record, "received");
  if (!received.IsInt64() || received.GetInt64() < 0) return std::nullopt;
  return Milliseconds(received.GetInt64());
}

std::optional<double> aimingTimeOf(const rapidjson::Value& record) {
  const auto seconds = numberOf(record, key::record::aimingTime);
  return seconds && std::abs(*seconds) <= longestAim ? seconds : std::nullopt;
}

unsigned flagsOf(const rapidjson::Value& record) {
  unsigned flags = 0;
  for (const auto& [key, flag] : {std::pair{key::record::lowSignal, BX_LOW_SIGNAL},
                                  {key::record::highSignal, BX_HIGH_SIGNAL},
                                  {key::record::measureError, BX_MEASURE_ERROR},
                                  {key::record::angleError, BX_ANGLE_ERROR},
                                  {key::record::fsiError, BX_FSI_ERROR}}) {
    if (integerOf(record, key).value_or(0) != 0) flags |= static_cast<unsigned>(flag);
  }
  return flags;
}

Sample sampleOf(const rapidjson::Value& record) {
  return {.position = positionOf(numberOf(record, key::record::positionX), numberOf(record, key::record::positionY)),
          .received = timeOf(record),
          .tilt = integerOf(record, key::record::tilt),
          .rotation = integerOf(record, key::record::rotation),
          .flags = flagsOf(record)};
}

std::optional<int> targetNumberOf(const rapidjson::Value& record, const char* key) {
  const auto number = integerOf(record, key);
  return number == noTarget ? std::nullopt : number;
}

bool has(const rapidjson::Value& record, const char* key) { return record.HasMember(key); }

bool names(const Shot& shot, const Face& face) {
  const auto& named = face.isSilhouette ? shot.silhouetteTarget : shot.ringTarget;
  return named && named == face.number;
}

}  // namespace

Session::Session(const rapidjson::Value& header) : targets_(1) {
  start_ = textOf(header, "start");
  deviceName_ = textOf(memberOf(header, "device"), key::settings::serialNumber);
  bulletsInSeries_ = integerOf(memberOf(header, "session"), key::session::numberOfBullets);
  const rapidjson::Value& target = memberOf(header, "target");
  if (target.IsObject()) setTarget(target);
  if (!target.IsArray() || target.Empty()) return;
  targets_.clear();
  for (const auto& one : target.GetArray()) targets_.push_back(faceOf(one));
}

void Session::setTarget(const rapidjson::Value& target) { targets_ = {faceOf(target)}; }

bool Session::add(const rapidjson::Value& record) {
  if (!record.IsObject()) return false;
  if (has(record, key::record::shotNumber)) {
    addShot(record);
  } else if (has(record, key::record::positionX) || has(record, key::record::positionY)) {
    samples_.push_back(sampleOf(record));
  } else if (has(record, "gap")) {
    gaps_.push_back(samples_.size());
  } else {
    return false;
  }
  return true;
}

void Session::addShot(const rapidjson::Value& record) {
  Shot shot;
  static_cast<Sample&>(shot) = sampleOf(record);
  shot.number = shots_.size() + 1;
  shot.ringTarget = targetNumberOf(record, key::ring::ringTargetNumber);
  shot.silhouetteTarget = targetNumberOf(record, key::silhouette::silhouetteTargetNumber);
  shot.aimingTime = aimingTimeOf(record);
  shot.rotationInDegrees = integerOf(record, key::record::rotationInDegrees);
  shot.tiltInDegrees = integerOf(record, key::record::tiltInDegrees);
  shot.samplesBefore = samples_.size();
  shot.gapsBefore = gaps_.size();
  shots_.push_back(shot);
}

std::optional<std::size_t> Session::targetOf(const Shot& shot) const {
  const auto named =
      std::find_if(targets_.begin(), targets_.end(), [&](const Face& face) { return names(shot, face); });
  if (named != targets_.end()) return static_cast<std::size_t>(named - targets_.begin());
  const bool namesNone = !shot.ringTarget && !shot.silhouetteTarget;
  if (targets_.size() == 1 && (namesNone || !targets_.front().number)) return 0;
  return std::nullopt;
}

std::span<const Sample> Session::aimBefore(const Shot& shot, Milliseconds time) const {
  if (!shot.received) return {};
  std::size_t earliest = shot.number > 1 ? endOfFollowThrough(shots_[shot.number - 2]) : 0;
  if (shot.gapsBefore > 0) earliest = std::max(earliest, gaps_[shot.gapsBefore - 1]);
  std::size_t begin = shot.samplesBefore;
  const auto isWithin = [&](const Sample& sample) {
    return sample.received && *sample.received >= *shot.received - time;
  };
  while (begin > earliest && isWithin(samples_[begin - 1])) --begin;
  return std::span(samples_).subspan(begin, shot.samplesBefore - begin);
}

std::span<const Sample> Session::followThroughOf(const Shot& shot) const {
  return std::span(samples_).subspan(shot.samplesBefore, endOfFollowThrough(shot) - shot.samplesBefore);
}

std::size_t Session::endOfFollowThrough(const Shot& shot) const {
  if (!shot.received) return shot.samplesBefore;
  std::size_t end = shot.number < shots_.size() ? shots_[shot.number].samplesBefore : samples_.size();
  if (shot.gapsBefore < gaps_.size()) end = std::min(end, gaps_[shot.gapsBefore]);
  const auto follows = [&](const Sample& sample) {
    return sample.received && *sample.received - *shot.received <= followThrough;
  };
  const auto first = samples_.begin() + static_cast<std::ptrdiff_t>(shot.samplesBefore);
  const auto last = samples_.begin() + static_cast<std::ptrdiff_t>(end);
  return static_cast<std::size_t>(std::find_if_not(first, last, follows) - samples_.begin());
}

std::vector<Point> positionsOf(std::span<const Sample> samples) {
  std::vector<Point> positions;
  for (const Sample& sample : samples) {
    if (sample.position) positions.push_back(*sample.position);
  }
  return positions;
}

}  // namespace BX::scoring
