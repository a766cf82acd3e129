// Decides the fate of each frame on the line, by rules and by seeded noise. Pure: no I/O, no clock.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <random>
#include <span>
#include <vector>

#include "platform/codec/Frame.h"
#include "simulator/FaultRule.h"

namespace BX::sim {

using Bytes = std::vector<std::uint8_t>;

class FaultInjector {
 public:
  FaultInjector(const std::vector<FaultRule>& rules, const std::optional<Noise>& noise);

  // Replaces the rules; counting begins anew.
  void setRules(const std::vector<FaultRule>& rules);
  // Rules that have not struck yet.
  std::size_t waiting() const;
  // Frames of a kind since the rules were set.
  std::size_t count(Direction direction, FrameKind kind) const;

  struct Fate {
    std::vector<Bytes> pieces;         // what travels instead
    std::optional<FaultEffect> event;  // Delay, before the pieces; Restart or HangUp, instead of any
  };
  // `bytes` as they were sent: a frame, with or without its first delimiter. What holds no sound frame passes.
  Fate judge(Direction direction, Bytes bytes);

  // Whether the device refuses this request without doing it, and whether its answer is turned into a refusal.
  // Each is asked once for each payload.
  bool refuses(std::span<const std::uint8_t> request);
  bool refusesAfterwards(std::span<const std::uint8_t> request);

 private:
  static constexpr std::size_t kindCount = static_cast<std::size_t>(FrameKind::Other) + 1;
  using Kinds = std::array<bool, kindCount>;

  struct Rule {
    FaultRule rule;
    std::size_t seen = 0;
  };

  std::optional<Bytes> contentOf(std::span<const std::uint8_t> bytes);
  Kinds kindsOf(Direction direction, std::span<const std::uint8_t> content);
  FrameKind payloadKind(Direction direction, std::span<const std::uint8_t> content);
  std::optional<FaultEffect> strike(Direction direction, const Kinds& kinds, bool refusals);
  std::optional<FaultEffect> noise(Direction direction);

  std::vector<Rule> rules_;
  std::array<std::array<std::size_t, kindCount>, 2> counts_{};
  unsigned noiseEvery_ = 0;  // 0: none
  std::array<std::mt19937_64, 2> noise_;
  link::FrameDecoder decoder_;
  // What each tag's request is, and the tag of the latest one: its next frames are further parts or repetitions.
  std::array<FrameKind, 64> kindOfTag_;
  std::uint8_t latestTag_ = 0;
};

}  // namespace BX::sim
