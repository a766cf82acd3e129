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
constexpr std::size_t startupOffset = 5;
constexpr std::size_t operatingModeSize = 11;  // bytes, from the control byte on

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

// The double that is nearest to the tenths, which the product with a tenth would not always be.
double decodeCockingDelay(std::uint8_t tenths) { return static_cast<double>(tenths) / scale::cockingDelay; }

std::optional<std::uint8_t> frameNumber(std::span<const std::uint8_t> reply) {
  if (!wire::isReply(reply, wire::letter::parameterSetRead) || reply.size() <= numberOffset) return std::nullopt;
  return reply[numberOffset];
}

std::optional<std::uint8_t> controlByte(std::span<const std::uint8_t> reply) {
  if (reply.size() <= controlByteOffset) return std::nullopt;
  return reply[controlByteOffset];
}

std::optional<bool> decodeFieldMode(std::span<const std::uint8_t> reply) {
  if (reply.size() <= startupOffset) return std::nullopt;
  if (reply[startupOffset] == startInFieldMode) return true;
  if (reply[startupOffset] == startInClassicMode) return false;
  return std::nullopt;
}

std::optional<OperatingMode> decodeOperatingMode(std::span<const std::uint8_t> reply) {
  if (reply.size() < controlByteOffset + operatingModeSize) return std::nullopt;
  const auto content = reply.subspan(controlByteOffset, operatingModeSize);
  return OperatingMode{.controlByte1 = content[0],
                       .controlByte2 = content[1],
                       .ringTargetNumber = content[2],
                       .silhouetteTargetNumber = content[3],
                       .numberOfPrisms = content[4],
                       .numberOfBullets = content[5],
                       .wakeupAngle = content[6],
                       .shotRejectionAngle = content[7],
                       .sleepTimeout = content[8],
                       .triggerSensitivity = content[9],
                       .cockingDelay = content[10]};
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
