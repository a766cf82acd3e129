// The numbered parameter-set frames that hold a device's configuration. No I/O here.
//
// Frames are written as 18 bytes of content, to which the link's checksum is added. They are read with two bytes of
// answer before their number; of these only the first two are interpreted.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "platform/Wire.h"

namespace BX::config {

using wire::Bytes;

inline constexpr std::uint8_t deviceFrame = 0x00;
inline constexpr std::uint8_t classicFrame = 0x01;
inline constexpr std::uint8_t dynamicFrame = 0x02;
inline constexpr std::uint8_t closingFrame = 0x83;

// What is read from a device, in this order.
inline constexpr std::array<std::uint8_t, 11> framesToRead = {0x00, 0x01, 0x02, 0x03, 0x08, 0x09,
                                                              0x10, 0x11, 0x12, 0x13, 0xB8};

// What frame 0 says.
struct DeviceParameters {
  std::uint8_t controlByte1 = 0;
  std::uint8_t controlByte2 = 0;
  bool fieldMode = false;  // what the device does when it is switched on
};

// What the frames of the operating modes say, byte by byte.
struct OperatingMode {
  std::uint8_t controlByte1 = 0;
  std::uint8_t controlByte2 = 0;
  std::uint8_t ringTargetNumber = 0;
  std::uint8_t silhouetteTargetNumber = 0;
  std::uint8_t numberOfPrisms = 0;
  std::uint8_t numberOfBullets = 0;
  std::uint8_t wakeupAngle = 0;
  std::uint8_t shotRejectionAngle = 0;
  std::uint8_t sleepTimeout = 0;
  std::uint8_t triggerSensitivity = 0;
  std::uint8_t cockingDelay = 0;  // tenths of a second

  bool operator==(const OperatingMode&) const = default;
};

// 18 bytes each, without the checksum.
Bytes encode(const DeviceParameters& parameters);
Bytes encode(std::uint8_t frame, const OperatingMode& mode);
Bytes encodeClosingFrame();

// Seconds to the byte that carries them: tenths, towards zero, low 8 bits.
std::uint8_t encodeCockingDelay(double seconds);
double decodeCockingDelay(std::uint8_t tenths);

// Which frame an answer carries; none when it is no such answer.
std::optional<std::uint8_t> frameNumber(std::span<const std::uint8_t> reply);

// The control byte of a frame as it was received; none when it is too short to have one.
std::optional<std::uint8_t> controlByte(std::span<const std::uint8_t> reply);

// What an answer for frame 0 says of the mode; none when it is too short, or says neither.
std::optional<bool> decodeFieldMode(std::span<const std::uint8_t> reply);
// What an answer for the frame of an operating mode says; none when it is too short to say all of it.
std::optional<OperatingMode> decodeOperatingMode(std::span<const std::uint8_t> reply);

// An answer that nobody expected, for the console: "DEF: 59 7 ...", hexadecimal without padding.
std::string describeUnexpected(std::span<const std::uint8_t> reply);

}  // namespace BX::config
