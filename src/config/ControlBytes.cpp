#include "config/ControlBytes.h"

#include <array>
#include <utility>

#include "bx/DocumentKeys.h"

namespace BX::config {

namespace {

constexpr std::array<std::pair<Mounting, const char*>, 4> mountings = {{
    {Mounting::Above, text::above},
    {Mounting::Below, text::below},
    {Mounting::Left, text::left},
    {Mounting::Right, text::right},
}};

constexpr std::uint8_t mountingMask = 0x03;
constexpr std::uint8_t arrowButtonsBit = 0x10;

constexpr std::uint8_t evaluateSilhouetteBit = 0x01;
constexpr std::uint8_t countRingScoreBit = 0x02;
constexpr std::uint8_t registerAllTriggersBit = 0x04;
constexpr std::uint8_t hitIndicationBeamBit = 0x08;
constexpr std::uint8_t sleepWakeUpBit = 0x10;
constexpr std::uint8_t everythingOffSubstitute = registerAllTriggersBit | hitIndicationBeamBit;

constexpr std::uint8_t graphicDisplayBit = 0x01;
constexpr std::uint8_t hitSoundBuzzerBit = 0x20;

constexpr std::uint8_t bitIf(bool set, std::uint8_t bit) { return set ? bit : std::uint8_t{0}; }
constexpr bool isSet(std::uint8_t byte, std::uint8_t bit) { return (byte & bit) != 0; }

}  // namespace

Mounting mountingOf(std::string_view text) {
  for (const auto& [mounting, name] : mountings) {
    if (text == name) return mounting;
  }
  return Mounting::Above;
}

const char* textOf(Mounting mounting) {
  for (const auto& [known, name] : mountings) {
    if (known == mounting) return name;
  }
  return mountings.front().second;
}

std::uint8_t encode(const Placement& placement) {
  return static_cast<std::uint8_t>(static_cast<std::uint8_t>(placement.mounting) |
                                   bitIf(placement.arrowButtonsEnabled, arrowButtonsBit));
}

Placement decodePlacement(std::uint8_t byte) {
  return {.mounting = static_cast<Mounting>(byte & mountingMask), .arrowButtonsEnabled = isSet(byte, arrowButtonsBit)};
}

std::uint8_t encode(const Evaluation& evaluation) {
  const auto byte = static_cast<std::uint8_t>(bitIf(evaluation.evaluateSilhouette, evaluateSilhouetteBit) |
                                              bitIf(evaluation.countRingScore, countRingScoreBit) |
                                              bitIf(evaluation.registerAllTriggers, registerAllTriggersBit) |
                                              bitIf(evaluation.targetReceiverHitIndicationBeam, hitIndicationBeamBit) |
                                              bitIf(evaluation.sleepWakeUp, sleepWakeUpBit));
  return byte == 0 ? everythingOffSubstitute : byte;
}

Evaluation decodeEvaluation(std::uint8_t byte) {
  return {.evaluateSilhouette = isSet(byte, evaluateSilhouetteBit),
          .countRingScore = isSet(byte, countRingScoreBit),
          .registerAllTriggers = isSet(byte, registerAllTriggersBit),
          .targetReceiverHitIndicationBeam = isSet(byte, hitIndicationBeamBit),
          .sleepWakeUp = isSet(byte, sleepWakeUpBit)};
}

std::uint8_t encode(const Feedback& feedback) {
  return static_cast<std::uint8_t>(bitIf(feedback.graphicDisplay, graphicDisplayBit) |
                                   bitIf(feedback.hitSoundBuzzer, hitSoundBuzzerBit));
}

}  // namespace BX::config
