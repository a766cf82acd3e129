// What can be told to go wrong on the line, and how it is told: DIRECTION:KIND:N:WHAT, such as "to-host:page:3:drop".
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace BX::sim {

enum class Direction : std::uint8_t { ToHost, ToDevice };

// What a frame is counted as. A frame is of several kinds at once: a request for a page is Frame, Data, Request and
// Page.
enum class FrameKind : std::uint8_t {
  Frame,    // any
  Ack,      // RR and REJ
  Begin,    // SABM and UA
  End,      // DISC and DM
  Data,     // any information frame
  Request,  // to the device
  Answer,   // to the host, but no stream
  Stream,   // a streamed payload
  // A request and its answer, each in its direction:
  Startup,
  Mode,
  Information,
  FrameRead,
  FrameWrite,
  RingUpload,
  RingDownload,
  SilhouetteUpload,
  SilhouetteDownload,
  Page,
  Clear,
  Poll,
  Other,  // a letter that no device knows
};

enum class FaultEffect : std::uint8_t {
  Drop,
  Duplicate,  // sent twice
  Corrupt,    // one bit is turned
  Cut,        // only the first half is sent
  Delay,      // the line stalls past the time-out; what follows waits, too
  Bytewise,   // a byte at a time
  Refuse,     // 4E and the letter: to the device, instead of doing it; to the host, after it was done
  Restart,    // lost, with the device's session, mode and stream
  HangUp,     // lost, and the line is cut after all that went before
};

// At the `number`th frame of this kind, from 1; for Refuse, at the `number`th payload. A frame counts each time it is
// sent, repetitions included, and each frame of a long payload counts.
struct FaultRule {
  Direction direction = Direction::ToHost;
  FrameKind kind = FrameKind::Frame;
  std::size_t number = 1;
  FaultEffect effect = FaultEffect::Drop;
};

// In each direction, about one frame in `every` is lost, doubled or damaged; the same seed tells the same fates.
struct Noise {
  unsigned every = 100;
  std::uint64_t seed = 1;
};

// Throw std::runtime_error with the reason, in one line.
FaultRule parseFaultRule(const std::string& text);
FrameKind parseFrameKind(const std::string& text);
FaultEffect parseFaultEffect(const std::string& text);

std::string nameOf(Direction direction);
std::string nameOf(FrameKind kind);
std::string nameOf(FaultEffect effect);
std::string textOf(const FaultRule& rule);

// All names of kinds and of effects, for help texts.
std::string frameKindNames();
std::string faultEffectNames();

}  // namespace BX::sim
