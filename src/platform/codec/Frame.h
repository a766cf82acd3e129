// The frame of the link: 0x00, a COBS-encoded body, 0x00. The body is content followed by its CRC-32 (IEEE 802.3,
// most significant byte first). Delimiters at both ends: garbage between frames never costs the frame after it.
// No I/O here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace BX::link {

using Bytes = std::vector<std::uint8_t>;

inline constexpr std::uint8_t frameDelimiter = 0x00;
inline constexpr std::size_t checksumSize = 4;
// Two header bytes and the longest payload part that one COBS block of 254 bytes holds beside them.
inline constexpr std::size_t maxContentSize = 2 + 240;

// `content` of 1 to maxContentSize bytes as it travels, delimiters included.
Bytes encodeFrame(std::span<const std::uint8_t> content);

// Cuts a stream of bytes, arriving in pieces of any size, into the contents of its sound frames.
class FrameDecoder {
 public:
  using Sink = std::function<void(std::span<const std::uint8_t> content)>;

  // Calls `sink` for each frame that `bytes` completes; the span lives until the sink returns. What is dropped goes to
  // `dropped`, when there is one, without delimiters and cut to the length of the longest frame.
  void feed(std::span<const std::uint8_t> bytes, const Sink& sink, const Sink& dropped = {});
  // What has come of a frame that is not complete yet.
  std::span<const std::uint8_t> begun() const { return encoded_; }
  // Forgets a frame that has begun.
  void reset();
  // Frames that were dropped: a wrong checksum, a broken encoding, too short or too long.
  std::uint64_t damaged() const { return damaged_; }

 private:
  void finish(const Sink& sink, const Sink& dropped);
  void drop(const Sink& dropped);

  Bytes encoded_;
  bool overlong_ = false;
  std::uint64_t damaged_ = 0;
};

}  // namespace BX::link
