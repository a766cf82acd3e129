// The bit fields that carry a device's switches inside the parameter-set frames. Bits without a meaning here are sent
// as 0 and ignored when received. No I/O here.
#pragma once

#include <cstdint>
#include <string_view>

namespace BX::config {

// Where the receiver is mounted, as bits 0 and 1 of parameter control byte 1 have it.
enum class Mounting : std::uint8_t { Above = 0, Right = 1, Left = 2, Below = 3 };

// "ABOVE", "RIGHT", "LEFT" or "BELOW". Any other text means Above.
Mounting mountingOf(std::string_view text);
const char* textOf(Mounting mounting);

// Parameter control byte 1.
struct Placement {
  Mounting mounting = Mounting::Above;
  bool arrowButtonsEnabled = false;
};
std::uint8_t encode(const Placement& placement);
Placement decodePlacement(std::uint8_t byte);

// Operating-mode control byte 1.
struct Evaluation {
  bool evaluateSilhouette = false;
  bool countRingScore = false;
  bool registerAllTriggers = false;
  bool targetReceiverHitIndicationBeam = false;
  bool sleepWakeUp = false;
};
// A device with every switch off would evaluate nothing: it is told to register all triggers and to use the hit
// indication beam.
std::uint8_t encode(const Evaluation& evaluation);
// The bits as they are.
Evaluation decodeEvaluation(std::uint8_t byte);

// Operating-mode control byte 2.
struct Feedback {
  bool graphicDisplay = false;
  bool hitSoundBuzzer = false;
};
std::uint8_t encode(const Feedback& feedback);

}  // namespace BX::config
