// Requests of the device library that more than one subsystem makes.
#pragma once

#include <functional>

#include "bx/BXSerialCom.h"
#include "platform/Wire.h"

namespace BX::wire {

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
