// The header bytes of a frame: the control byte of ISO/IEC 13239 (HDLC), and in information frames one more.
#pragma once

#include <cstddef>
#include <cstdint>

namespace BX::link {

// Frames are numbered modulo 8; at most 7 may be unacknowledged, or a repeated frame could pass for a new one.
inline constexpr std::uint8_t numberModulus = 8;
inline constexpr std::size_t window = 7;

constexpr std::uint8_t numberAfter(std::uint8_t number, std::size_t steps = 1) {
  return static_cast<std::uint8_t>((number + steps) % numberModulus);
}
constexpr std::size_t numbersBetween(std::uint8_t from, std::uint8_t to) {
  return static_cast<std::size_t>((to + numberModulus - from) % numberModulus);
}

// Unnumbered frames, without the poll/final bit.
inline constexpr std::uint8_t SABM = 0x2F;  // set asynchronous balanced mode: begin a session
inline constexpr std::uint8_t UA = 0x63;    // unnumbered acknowledgement
inline constexpr std::uint8_t DM = 0x0F;    // disconnected mode: no session here
inline constexpr std::uint8_t DISC = 0x43;  // disconnect

// Supervisory frames, without number and poll/final bit.
inline constexpr std::uint8_t RR = 0x01;   // receive ready
inline constexpr std::uint8_t REJ = 0x09;  // reject: send again from N(R)

inline constexpr std::uint8_t pollFinal = 0x10;

constexpr bool isInformation(std::uint8_t control) { return (control & 0x01U) == 0; }
constexpr bool isUnnumbered(std::uint8_t control) { return (control & 0x03U) == 0x03U; }
constexpr bool hasPollFinal(std::uint8_t control) { return (control & pollFinal) != 0; }
constexpr std::uint8_t withoutPollFinal(std::uint8_t control) {
  return static_cast<std::uint8_t>(control & static_cast<std::uint8_t>(~pollFinal));
}
// The kind of a supervisory frame: its control byte without N(R) and the poll/final bit.
constexpr std::uint8_t supervisoryKind(std::uint8_t control) { return control & 0x0FU; }

// N(S), the number of an information frame; N(R), the number of the next frame that its sender expects.
constexpr std::uint8_t sendNumber(std::uint8_t control) { return static_cast<std::uint8_t>(control >> 1U & 0x07U); }
constexpr std::uint8_t receiveNumber(std::uint8_t control) { return static_cast<std::uint8_t>(control >> 5U); }
constexpr std::uint8_t withReceiveNumber(std::uint8_t control, std::uint8_t number) {
  return static_cast<std::uint8_t>(control | number << 5U);
}
constexpr std::uint8_t informationControl(std::uint8_t sendNumber, std::uint8_t receiveNumber) {
  return withReceiveNumber(static_cast<std::uint8_t>(sendNumber << 1U), receiveNumber);
}

// The second header byte of an information frame: the tag of the request, and what follows.
inline constexpr std::uint8_t tagMask = 0x3F;
inline constexpr std::uint8_t payloadsFollow = 0x40;  // more payloads of the same answer
inline constexpr std::uint8_t partsFollow = 0x80;     // more parts of the same payload
inline constexpr std::size_t maxPartSize = 240;

}  // namespace BX::link
