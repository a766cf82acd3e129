#include "config/ParameterSetFrame.h"

#include <charconv>

#include "bx/DocumentKeys.h"
#include "platform/Numbers.h"
#include "platform/Wire.h"

namespace BX::config {

namespace {

constexpr std::size_t contentSize = 18;
constexpr std::uint8_t closingFill = 0xFF;

constexpr std::uint8_t startInFieldMode = 0x02;
constexpr std::uint8_t startInClassicMode = 0x01;

constexpr std::size_t numberOffset = 2;
constexpr std::size_t controlByteOffset = 3;

Bytes padded(Bytes content) {
  content.resize(contentSize, 0);
  return content;
}

}  // namespace

Bytes encode(const DeviceParameters& parameters) {
  return padded({wire::letter::parameterSet, deviceFrame, parameters.controlByte1, parameters.controlByte2,
                 parameters.fieldMode ? startInFieldMode : startInClassicMode});
}

Bytes encode(std::uint8_t frame, const OperatingMode& mode) {
  return padded({wire::letter::parameterSet, frame, mode.controlByte1, mode.controlByte2, mode.ringTargetNumber,
                 mode.silhouetteTargetNumber, mode.numberOfPrisms, mode.numberOfBullets, mode.wakeupAngle,
                 mode.shotRejectionAngle, mode.sleepTimeout, mode.triggerSensitivity, mode.cockingDelay});
}

Bytes encodeClosingFrame() {
  Bytes content(contentSize, closingFill);
  content[0] = wire::letter::parameterSet;
  content[1] = closingFrame;
  return content;
}

std::uint8_t encodeCockingDelay(double seconds) {
  return platform::lowByte(platform::truncateToInt(seconds * scale::cockingDelay));
}

std::optional<std::uint8_t> frameNumber(std::span<const std::uint8_t> reply) {
  if (!wire::isReply(reply, wire::letter::parameterSetRead) || reply.size() <= numberOffset) return std::nullopt;
  return reply[numberOffset];
}

std::optional<std::uint8_t> controlByte(std::span<const std::uint8_t> reply) {
  if (reply.size() <= controlByteOffset) return std::nullopt;
  return reply[controlByteOffset];
}

std::string describeUnexpected(std::span<const std::uint8_t> reply) {
  std::string text = "DEF: ";
  for (const std::uint8_t byte : reply) {
    std::array<char, 2> digits{};
    const auto written = std::to_chars(digits.data(), digits.data() + digits.size(), byte, 16);
    text.append(digits.data(), written.ptr);
    text += ' ';
  }
  return text + "\n\n";
}

}  // namespace BX::config
