#include "simulator/ParameterSets.h"

#include <algorithm>
#include <array>

#include "simulator/DeviceWire.h"

namespace BX::sim {

namespace {

// Write request: letter, frame number, sixteen bytes of content, sum.
constexpr std::size_t contentOffset = 2;
constexpr std::size_t contentSize = 16;
constexpr std::size_t requestSize = contentOffset + contentSize + 1;
// The last frame of a write carries bit 7 in its number.
constexpr std::uint8_t closingFrame = 0x83;
constexpr std::uint8_t closingFrameStored = 0x03;

constexpr std::uint8_t classicFrame = 0x01;
constexpr std::uint8_t dynamicFrame = 0x02;
// Within the content of the two operating-mode frames.
constexpr std::size_t ringTargetOffset = 2;
constexpr std::size_t silhouetteTargetOffset = 3;

struct Default {
  std::uint8_t frame;
  std::array<std::uint8_t, contentSize> content;
};

// As delivered: mounted above, arrow buttons on, field mode, no target in use; the rest is the device's own business.
constexpr std::array<Default, 11> defaults{{
    {0x00, {0x10, 0x00, 0x02}},
    {0x01, {0x1C, 0x21, wire::noTarget, wire::noTarget, 1, 10, 30, 45, 10, 5, 5}},
    {0x02, {0x1C, 0x21, wire::noTarget, wire::noTarget, 1, 10, 30, 45, 10, 5, 5}},
    {0x03, {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}},
    {0x08, {0x00, 0x96, 0x00, 0x64}},
    {0x09, {0x03, 0xE8, 0x00, 0x32}},
    {0x10, {0x01, 0x00, 0x40}},
    {0x11, {0x01, 0x01, 0x40}},
    {0x12, {0x01, 0x02, 0x40}},
    {0x13, {0x01, 0x03, 0x40}},
    {0xB8, {0x42, 0x58, 0x31}},
}};

}  // namespace

ParameterSets::ParameterSets() : ringTarget_(wire::noTarget), silhouetteTarget_(wire::noTarget) {
  for (const auto& [frame, content] : defaults) frames_.emplace(frame, Bytes(content.begin(), content.end()));
}

bool ParameterSets::write(std::span<const std::uint8_t> request) {
  if (request.size() != requestSize) return false;
  const std::uint8_t frame = request[1] == closingFrame ? closingFrameStored : request[1];
  const auto kept = frames_.find(frame);
  if (kept == frames_.end()) return false;
  const auto content = request.subspan(contentOffset, contentSize);
  kept->second.assign(content.begin(), content.end());
  if (frame == classicFrame || frame == dynamicFrame) {
    ringTarget_ = content[ringTargetOffset];
    silhouetteTarget_ = content[silhouetteTargetOffset];
  }
  return true;
}

std::optional<Bytes> ParameterSets::content(std::uint8_t frame) const {
  const auto kept = frames_.find(frame);
  if (kept == frames_.end()) return std::nullopt;
  return kept->second;
}

}  // namespace BX::sim
