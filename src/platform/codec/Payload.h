// The payloads that the link itself builds, and how answers are judged. Pure functions. Every request is a letter, its
// arguments and the sum byte.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <span>
#include <string_view>

#include "bx/BXSerialLink.h"
#include "platform/Letters.h"
#include "platform/codec/Frame.h"

namespace BX::link {

namespace letter = wire::letter;

std::uint8_t sumOf(std::span<const std::uint8_t> bytes);

// `bytes` and their sum byte.
Bytes withSum(std::initializer_list<std::uint8_t> bytes);

// The items of device information: what BXSerialCom calls them, and their codes on the wire.
struct InformationItem {
  std::string_view name;
  std::uint8_t code;
};
namespace item {
inline constexpr InformationItem serialNumber{"SERIAL_NUMBER", 0};
inline constexpr InformationItem usageInformation{"USAGE_INFORMATION", 1};
inline constexpr InformationItem id{"ID", 2};
inline constexpr InformationItem program{"PROGRAM", 3};
inline constexpr InformationItem date{"DATE", 4};
inline constexpr InformationItem time{"TIME", 5};
inline constexpr InformationItem errorCounters{"ERROR_COUNTERS", 6};
inline constexpr InformationItem storedResults{"STORED_RESULTS", 0x20};
}  // namespace item

// Nothing for a name that is none of theirs.
std::optional<std::uint8_t> informationCode(std::string_view name);

// Whether the device streams in this mode; whether this is its answer to a mode's request; and whether this payload of
// a stream is its end, which the device has come to by itself.
bool isStreamMode(std::uint8_t mode);
bool isModeAnswer(std::span<const std::uint8_t> answer);
bool isEndOfStream(std::span<const std::uint8_t> payload);

// What makes an answer a success.
struct Expected {
  // The letter that must follow the device's 59; without: any answer, which the handler then judges.
  std::optional<std::uint8_t> letter;
};

// Why `answer`, the last payload that answers `request`, is no success; nothing when it is one. A line that echoes
// gives the request itself, which no device answers.
std::optional<Failure> failureOf(const Bytes& request, const Expected& expected, const Bytes& answer);

}  // namespace BX::link
