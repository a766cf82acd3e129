#include "simulator/FaultInjector.h"

#include <algorithm>
#include <utility>

#include "platform/codec/Control.h"
#include "platform/codec/Station.h"
#include "simulator/DeviceWire.h"

namespace BX::sim {

namespace {

std::size_t indexOf(Direction direction) { return static_cast<std::size_t>(direction); }
std::size_t indexOf(FrameKind kind) { return static_cast<std::size_t>(kind); }

FrameKind kindOfRequest(std::span<const std::uint8_t> request) {
  if (request.empty()) return FrameKind::Other;
  switch (request.front()) {
    case wire::startup:
      return FrameKind::Startup;
    case wire::setMode:
      return FrameKind::Mode;
    case wire::information:
      return FrameKind::Information;
    case wire::readParameters:
      return FrameKind::FrameRead;
    case wire::writeParameters:
      return FrameKind::FrameWrite;
    case wire::uploadRing:
      return FrameKind::RingUpload;
    case wire::downloadRing:
      return FrameKind::RingDownload;
    case wire::uploadSilhouette:
      return FrameKind::SilhouetteUpload;
    case wire::downloadSilhouette:
      return FrameKind::SilhouetteDownload;
    case wire::storedPage:
      return request.size() > 2 && request[2] == wire::clearPage ? FrameKind::Clear : FrameKind::Page;
    case wire::poll:
      return FrameKind::Poll;
    default:
      return FrameKind::Other;
  }
}

FrameKind kindOfControl(std::uint8_t control) {
  if (link::isInformation(control)) return FrameKind::Data;
  if (!link::isUnnumbered(control)) return FrameKind::Ack;
  const std::uint8_t kind = link::withoutPollFinal(control);
  return kind == link::SABM || kind == link::UA ? FrameKind::Begin : FrameKind::End;
}

Bytes corrupted(Bytes bytes) {
  constexpr std::uint8_t bit = 0x10;
  bytes[bytes.size() / 2] ^= bit;
  return bytes;
}

std::vector<Bytes> singly(const Bytes& bytes) {
  std::vector<Bytes> pieces;
  pieces.reserve(bytes.size());
  for (const std::uint8_t byte : bytes) pieces.push_back({byte});
  return pieces;
}

FaultInjector::Fate apply(std::optional<FaultEffect> effect, Bytes bytes) {
  if (!effect) return {{std::move(bytes)}, std::nullopt};
  switch (*effect) {
    case FaultEffect::Drop:
      return {};
    case FaultEffect::Duplicate:
      return {{bytes, bytes}, std::nullopt};
    case FaultEffect::Corrupt:
      return {{corrupted(std::move(bytes))}, std::nullopt};
    case FaultEffect::Cut:
      bytes.resize(bytes.size() / 2);
      return {{std::move(bytes)}, std::nullopt};
    case FaultEffect::Bytewise:
      return {singly(bytes), std::nullopt};
    case FaultEffect::Delay:
      return {{std::move(bytes)}, effect};
    case FaultEffect::Refuse:
    case FaultEffect::Restart:
    case FaultEffect::HangUp:
      break;
  }
  return {{}, effect};
}

}  // namespace

FaultInjector::FaultInjector(const std::vector<FaultRule>& rules, const std::optional<Noise>& noise) {
  setRules(rules);
  kindOfTag_.fill(FrameKind::Other);
  if (!noise) return;
  noiseEvery_ = noise->every;
  for (std::size_t i = 0; i < noise_.size(); ++i) noise_[i].seed(noise->seed + i);
}

void FaultInjector::setRules(const std::vector<FaultRule>& rules) {
  rules_.clear();
  for (const FaultRule& rule : rules) rules_.push_back({rule});
  counts_ = {};
}

std::size_t FaultInjector::waiting() const {
  return static_cast<std::size_t>(
      std::count_if(rules_.begin(), rules_.end(), [](const Rule& rule) { return rule.seen < rule.rule.number; }));
}

std::size_t FaultInjector::count(Direction direction, FrameKind kind) const {
  return counts_[indexOf(direction)][indexOf(kind)];
}

FaultInjector::Fate FaultInjector::judge(Direction direction, Bytes bytes) {
  const auto content = contentOf(bytes);
  if (!content) return {{std::move(bytes)}, std::nullopt};
  const Kinds kinds = kindsOf(direction, *content);
  auto& counts = counts_[indexOf(direction)];
  for (std::size_t i = 0; i < kindCount; ++i) counts[i] += static_cast<std::size_t>(kinds[i]);
  const auto scripted = strike(direction, kinds, false);
  const auto noisy = noise(direction);
  return apply(scripted ? scripted : noisy, std::move(bytes));
}

bool FaultInjector::refuses(std::span<const std::uint8_t> request) {
  Kinds kinds{};
  kinds[indexOf(FrameKind::Request)] = true;
  kinds[indexOf(kindOfRequest(request))] = true;
  return strike(Direction::ToDevice, kinds, true).has_value();
}

bool FaultInjector::refusesAfterwards(std::span<const std::uint8_t> request) {
  Kinds kinds{};
  kinds[indexOf(FrameKind::Answer)] = true;
  kinds[indexOf(kindOfRequest(request))] = true;
  return strike(Direction::ToHost, kinds, true).has_value();
}

std::optional<Bytes> FaultInjector::contentOf(std::span<const std::uint8_t> bytes) {
  std::optional<Bytes> found;
  decoder_.reset();
  decoder_.feed(bytes, [&](std::span<const std::uint8_t> content) { found.emplace(content.begin(), content.end()); });
  return found;
}

FaultInjector::Kinds FaultInjector::kindsOf(Direction direction, std::span<const std::uint8_t> content) {
  Kinds kinds{};
  kinds[indexOf(FrameKind::Frame)] = true;
  const FrameKind control = kindOfControl(content[0]);
  kinds[indexOf(control)] = true;
  if (control == FrameKind::Begin) latestTag_ = link::streamTag;
  if (control != FrameKind::Data || content.size() < 2) return kinds;
  const FrameKind payload = payloadKind(direction, content);
  kinds[indexOf(payload)] = true;
  if (payload == FrameKind::Stream) return kinds;
  kinds[indexOf(direction == Direction::ToDevice ? FrameKind::Request : FrameKind::Answer)] = true;
  return kinds;
}

FrameKind FaultInjector::payloadKind(Direction direction, std::span<const std::uint8_t> content) {
  const std::uint8_t tag = content[1] & link::tagMask;
  if (direction == Direction::ToDevice && tag != latestTag_) {
    latestTag_ = tag;
    kindOfTag_[tag] = kindOfRequest(content.subspan(2));
  }
  if (direction == Direction::ToHost && tag == link::streamTag) return FrameKind::Stream;
  return kindOfTag_[tag];
}

// Every rule counts, the first one whose time has come strikes.
std::optional<FaultEffect> FaultInjector::strike(Direction direction, const Kinds& kinds, bool refusals) {
  std::optional<FaultEffect> effect;
  for (auto& [rule, seen] : rules_) {
    if (rule.direction != direction || (rule.effect == FaultEffect::Refuse) != refusals) continue;
    if (!kinds[indexOf(rule.kind)]) continue;
    if (++seen == rule.number && !effect) effect = rule.effect;
  }
  return effect;
}

std::optional<FaultEffect> FaultInjector::noise(Direction direction) {
  constexpr std::array fates{FaultEffect::Drop, FaultEffect::Duplicate, FaultEffect::Corrupt};
  if (noiseEvery_ == 0) return std::nullopt;
  auto& random = noise_[indexOf(direction)];
  if (random() % noiseEvery_ != 0) return std::nullopt;
  return fates[random() % fates.size()];
}

}  // namespace BX::sim
