// One end of the link procedure: the balanced procedure of ISO/IEC 13239 (HDLC) with numbers modulo 8 and a window
// of 7 frames, over the frames of Frame.h. A pure state machine: frames and the time go in, frames and messages come
// out; it does no I/O and reads no clock. Both the host's link and the simulated device run one.
//
// An initiator begins sessions (connect); a responder accepts them. Messages are payloads of any length with the tag of
// the request that they belong to; each is delivered exactly once and in order, or the session goes down.
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <span>
#include <vector>

#include "platform/codec/Frame.h"

namespace BX::link {

// Tag 0 is a streamed payload, which answers nothing; requests and their answers carry 1 to 63.
inline constexpr std::uint8_t streamTag = 0;
inline constexpr std::uint8_t maxTag = 63;

struct Message {
  std::uint8_t tag = streamTag;
  bool moreFollows = false;  // further payloads of the same answer follow
  Bytes payload;
};

enum class Role { Initiator, Responder };

// Why a session has ended.
enum class Ending {
  NoPeer,           // nothing answered SABM
  NotAcknowledged,  // a frame was sent as often as it may be
  NoSession,        // DM: the peer holds no session any more
  PayloadTooLong,   // the peer sends more than maxPayloadSize
  Replaced,         // responder: a host began anew
  Disconnected,     // responder: DISC
  Silent,           // responder: the peer was silent for Timing::silence
};

// Longer payloads than any host or device sends end the session instead of filling the memory.
inline constexpr std::size_t maxPayloadSize = std::size_t{1} << 20U;

// Time-outs are told in BXSerialLink.h. The acknowledgement of a request or of an answer's end waits a fifth of
// `resend` for a frame that can carry it; that of a streamed payload three fifths, or until six have come.
struct Timing {
  unsigned baud = 115200;  // 0: bytes take no time
  std::chrono::milliseconds resend{100};
  int sends = 5;                                // of an initiator's frame, before it gives up
  std::chrono::milliseconds longestWait{1000};  // up to which a responder's waits grow
  std::chrono::milliseconds silence{
      60'000};                             // of the peer, after which a responder no longer waits for acknowledgement
  std::chrono::milliseconds keepAlive{0};  // silence after which the peer is asked for a sign of life; 0: never
};

class Station {
 public:
  using Time = std::chrono::steady_clock::time_point;
  enum class State { Down, Connecting, Up };

  // What has come of the events so far, in order of happening within each list.
  struct Output {
    std::vector<Bytes> frames;           // encoded, to be written now
    std::vector<Message> delivered;      // from the peer
    std::vector<Message> acknowledged;   // of ours, that the peer has received whole
    bool progressed = false;             // something of ours was acknowledged
    std::optional<std::uint8_t> partOf;  // tag of a payload of which some bytes have come, but not the last
    bool sessionBegan = false;           // before anything in `delivered`
    bool renewed = false;                // and the queue is sent again from its start, see below
    std::optional<Ending> ended;
  };

  // `session` is where an initiator starts to number its sessions: better not where the last process did.
  Station(Role role, const Timing& timing, std::uint8_t session = 0);

  State state() const { return state_; }
  // Initiator: begins a clean session. What was queued before is forgotten.
  void connect(Time now);
  // Queues a message. An initiator that is down begins a session first; a responder that is down drops it. A message
  // that meets a peer without a session, alone and sent once, has had no effect: the initiator begins a new session by
  // itself and sends it again.
  void send(Message message, Time now);
  // One sound frame's content has arrived.
  void receive(std::span<const std::uint8_t> content, Time now);
  // Ends the session without waiting: acknowledges what is owed and tells the peer.
  void disconnect(Time now);
  // Forgets the session without a word, as a power cycle does.
  void restart();
  // Forgets the messages with this tag of which nothing was sent yet.
  void dropUnsent(std::uint8_t tag);
  void setKeepAlive(std::chrono::milliseconds silence, Time now);

  // Lets due timers act. To be called at deadline(), or later, or earlier.
  void advance(Time now);
  // When advance() next has something to do.
  std::optional<Time> deadline() const;
  // Sends what the window allows, and the acknowledgement that is due; then hands everything over.
  Output take(Time now);

  // Messages queued and not yet acknowledged.
  std::size_t backlog() const { return messages_.size(); }
  std::uint64_t framesSent() const { return framesSent_; }
  std::uint64_t framesResent() const { return framesResent_; }

 private:
  friend struct StationState;  // of tests: what tells two states apart

  struct Part {  // what one information frame carries of a message
    std::uint8_t info = 0;
    Bytes data;
    bool beginsMessage = false;
    bool endsMessage = false;
  };

  void reset();
  void resetNumbers();
  void beginSession(Time now);
  void end(Ending ending);
  void giveUp(Ending ending, Time now);
  void sessionIsUp();
  void receiveUnnumbered(std::span<const std::uint8_t> content, Time now);
  void receiveInformation(std::span<const std::uint8_t> content, Time now);
  void acceptPart(std::uint8_t info, std::span<const std::uint8_t> data, Time now);
  void planAcknowledgement(Time now);
  void acknowledged();
  bool acknowledgeUpTo(std::uint8_t number, Time now);
  void checkpoint(Time now);
  void recover(Time now);
  void transmit(std::span<const std::uint8_t> content, Time now);
  void transmitPart(std::size_t index, bool poll, Time now);
  void transmitSupervisory(std::uint8_t control, Time now);
  void transmitSession(std::uint8_t control, Time now);
  void transmitUnnumbered(std::uint8_t control, Time now);
  void pump(Time now);
  void armResend(Time now);
  void resendExpired(Time now);
  std::optional<Time> keepAliveAt() const;

  Role role_;
  Timing timing_;
  std::uint8_t session_;  // SABM and UA carry it, so that a late UA begins nothing
  State state_ = State::Down;
  bool heard_ = false;      // anything in this session but its beginning
  bool renewing_ = false;   // the session was renewed, and nothing was acknowledged since
  bool renewable_ = false;  // nothing that was sent since the frames in flight, each once, can be what DM answers
  Output output_;

  std::deque<Part> parts_;          // in flight first, then waiting
  std::size_t inFlight_ = 0;        // how many of parts_ were sent and not acknowledged
  std::deque<Message> messages_;    // whole, until acknowledged
  std::uint8_t firstInFlight_ = 0;  // number of parts_.front()
  std::uint8_t expected_ = 0;       // number of the next frame from the peer
  Message assembling_;
  bool rejected_ = false;     // a gap was reported and not yet filled
  bool pollPending_ = false;  // a frame with the poll bit awaits its answer
  bool acknowledgeNow_ = false;
  std::optional<Time> acknowledgeAt_;
  std::size_t gathered_ = 0;  // streamed frames whose acknowledgement waits
  std::optional<Time> resendAt_;
  std::chrono::milliseconds wait_{0};
  int sends_ = 0;
  Time lineFree_{};     // when the last byte that was handed over has left
  Time silentSince_{};  // when the peer was last heard; at least since it has something to acknowledge
  std::uint64_t framesSent_ = 0;
  std::uint64_t framesResent_ = 0;
};

}  // namespace BX::link
