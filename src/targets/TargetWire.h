// What ring and silhouette targets have in common on the wire. No I/O here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "bx/DocumentKeys.h"
#include "morva/MORVADataTypeJSON.h"
#include "platform/Wire.h"

namespace BX::targets {

using Json = MORVA::MORVADataTypeJSON;
using wire::Bytes;

// Control byte 1 of either kind.
namespace control {
inline constexpr std::uint8_t yards = 0x10;
inline constexpr std::uint8_t caliberInInches = 0x20;
inline constexpr std::uint8_t sizeInInches = 0x40;
inline constexpr std::uint8_t variableGaps = 0x80;
}  // namespace control

// A reply to a download request: 0x59, the request's letter, the request's bytes 1 and 2, then the content.
namespace reply {
inline constexpr std::size_t numberOffset = 2;
inline constexpr std::size_t indexOffset = 3;
inline constexpr std::size_t contentOffset = 4;
}  // namespace reply

inline constexpr std::size_t nameSize = longestTargetName;
// Between a name and the sum byte.
inline constexpr std::size_t namePadding = 6;

// "m" or "Meters"; anything else counts as yards.
bool isMetres(const Json& target);
// The member `key` is "mm" or "Millimeters"; anything else counts as inches.
bool isMillimetres(const Json& target, const std::string& key);

// The text whole, at least nameSize bytes, and the padding.
void appendName(Bytes& frame, const std::string& name);
// Up to nameSize characters, ended by a zero byte or by the end of the reply.
std::string nameOf(std::span<const std::uint8_t> reply);

// Asks for the part `index` of a stored target.
Bytes downloadRequest(std::uint8_t letter, std::int32_t number, std::uint8_t index);

}  // namespace BX::targets
