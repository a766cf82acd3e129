// What the payloads of all subsystems have in common.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "bx/BXSerialCom.h"
#include "platform/Letters.h"
#include "platform/Numbers.h"

namespace BX::wire {

using Bytes = std::vector<std::uint8_t>;

// Whether `bytes` is an answer that names `letter`, as most answers do.
constexpr bool isReply(std::span<const std::uint8_t> bytes, std::uint8_t letter) {
  return bytes.size() >= 2 && bytes[0] == replyMark && bytes[1] == letter;
}

// The low 16 bits, most significant byte first.
inline void append16(Bytes& frame, std::int64_t value) {
  frame.push_back(platform::lowByte(value >> 8));
  frame.push_back(platform::lowByte(value));
}

// The sum byte is the link's to define, so it goes on where a frame is sent, not where it is built.
inline void seal(const BXSerialCom& link, Bytes& frame) { frame.push_back(link.calculateSum(frame)); }

// Sends a frame that lacks its sum byte yet; true when the device accepted it. The acknowledgement carries the
// frame's own first byte.
inline bool sendForAcknowledgement(BXSerialCom& link, Bytes frame) {
  seal(link, frame);
  return link.sendBytesAckReturn(frame, frame.front(), std::function<void()>(), false);
}

// Asks for a part of a stored target; the reply goes to the link's reply handler. True when there was one.
inline bool requestTarget(BXSerialCom& link, Bytes request) {
  seal(link, request);
  return link.sendDownloadTargetRequest(request, request.front());
}

}  // namespace BX::wire
