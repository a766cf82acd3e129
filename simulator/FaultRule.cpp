#include "simulator/FaultRule.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <vector>

namespace BX::sim {

namespace {

template <typename Value>
struct Name {
  std::string_view text;
  Value value;
};

constexpr std::array<Name<Direction>, 2> directions{{
    {"to-host", Direction::ToHost},
    {"to-device", Direction::ToDevice},
}};

constexpr std::array<Name<FrameKind>, 21> kinds{{
    {"frame", FrameKind::Frame},
    {"ack", FrameKind::Ack},
    {"begin", FrameKind::Begin},
    {"end", FrameKind::End},
    {"data", FrameKind::Data},
    {"request", FrameKind::Request},
    {"answer", FrameKind::Answer},
    {"stream", FrameKind::Stream},
    {"startup", FrameKind::Startup},
    {"mode", FrameKind::Mode},
    {"information", FrameKind::Information},
    {"frame-read", FrameKind::FrameRead},
    {"frame-write", FrameKind::FrameWrite},
    {"ring-upload", FrameKind::RingUpload},
    {"ring-download", FrameKind::RingDownload},
    {"silhouette-upload", FrameKind::SilhouetteUpload},
    {"silhouette-download", FrameKind::SilhouetteDownload},
    {"page", FrameKind::Page},
    {"clear", FrameKind::Clear},
    {"poll", FrameKind::Poll},
    {"other", FrameKind::Other},
}};

constexpr std::array<Name<FaultEffect>, 9> effects{{
    {"drop", FaultEffect::Drop},
    {"duplicate", FaultEffect::Duplicate},
    {"corrupt", FaultEffect::Corrupt},
    {"cut", FaultEffect::Cut},
    {"delay", FaultEffect::Delay},
    {"bytewise", FaultEffect::Bytewise},
    {"refuse", FaultEffect::Refuse},
    {"restart", FaultEffect::Restart},
    {"hangup", FaultEffect::HangUp},
}};

template <typename Names>
std::string listOf(const Names& names) {
  std::string list;
  for (const auto& name : names) {
    if (!list.empty()) list += &name == &names.back() ? " or " : ", ";
    list += name.text;
  }
  return list;
}

template <typename Names>
auto parse(const Names& names, const std::string& text) {
  const auto found = std::find_if(names.begin(), names.end(), [&](const auto& name) { return name.text == text; });
  if (found == names.end()) throw std::runtime_error("'" + text + "' is not " + listOf(names));
  return found->value;
}

template <typename Names, typename Value>
std::string nameIn(const Names& names, Value value) {
  const auto found = std::find_if(names.begin(), names.end(), [&](const auto& name) { return name.value == value; });
  return std::string(found->text);
}

std::size_t parseNumber(const std::string& text) {
  std::size_t number = 0;
  const char* const last = text.data() + text.size();
  const auto [end, error] = std::from_chars(text.data(), last, number);
  if (error != std::errc() || end != last || number == 0) {
    throw std::runtime_error("'" + text + "' is not a number from 1");
  }
  return number;
}

std::vector<std::string> split(const std::string& text) {
  std::vector<std::string> fields(1);
  for (const char c : text) {
    if (c == ':') {
      fields.emplace_back();
    } else {
      fields.back() += c;
    }
  }
  return fields;
}

// The one direction that frames of this kind travel in, when there is only one.
std::optional<Direction> onlyDirectionOf(FrameKind kind) {
  switch (kind) {
    case FrameKind::Request:
      return Direction::ToDevice;
    case FrameKind::Answer:
    case FrameKind::Stream:
      return Direction::ToHost;
    default:
      return std::nullopt;
  }
}

bool canBeRefused(FrameKind kind) { return kind >= FrameKind::Request && kind != FrameKind::Stream; }

void check(const FaultRule& rule) {
  const auto direction = onlyDirectionOf(rule.kind);
  if (direction && *direction != rule.direction) {
    throw std::runtime_error("'" + nameOf(rule.kind) + "' only travels " + nameOf(*direction));
  }
  if (rule.effect == FaultEffect::Refuse && !canBeRefused(rule.kind)) {
    throw std::runtime_error("'" + nameOf(rule.kind) + "' cannot be refused");
  }
}

}  // namespace

FaultRule parseFaultRule(const std::string& text) try {
  const std::vector<std::string> fields = split(text);
  if (fields.size() != 4) throw std::runtime_error("not DIRECTION:KIND:N:WHAT");
  const FaultRule rule{parse(directions, fields[0]), parseFrameKind(fields[1]), parseNumber(fields[2]),
                       parseFaultEffect(fields[3])};
  check(rule);
  return rule;
} catch (const std::runtime_error& error) {
  throw std::runtime_error("fault '" + text + "': " + error.what());
}

FrameKind parseFrameKind(const std::string& text) { return parse(kinds, text); }
FaultEffect parseFaultEffect(const std::string& text) { return parse(effects, text); }

std::string nameOf(Direction direction) { return nameIn(directions, direction); }
std::string nameOf(FrameKind kind) { return nameIn(kinds, kind); }
std::string nameOf(FaultEffect effect) { return nameIn(effects, effect); }

std::string textOf(const FaultRule& rule) {
  return nameOf(rule.direction) + ":" + nameOf(rule.kind) + ":" + std::to_string(rule.number) + ":" +
         nameOf(rule.effect);
}

std::string frameKindNames() { return listOf(kinds); }
std::string faultEffectNames() { return listOf(effects); }

}  // namespace BX::sim
