#include "platform/codec/Frame.h"

#include <algorithm>
#include <boost/crc.hpp>
#include <optional>

namespace BX::link {

namespace {

// COBS: every zero byte is replaced by the distance to the next one, in blocks of at most 254 bytes (code 0xFF).
constexpr std::uint8_t maxCode = 0xFF;
constexpr std::size_t minContentSize = 1;
constexpr std::size_t maxBodySize = maxContentSize + checksumSize;
constexpr std::size_t maxEncodedSize = maxBodySize + 1;
static_assert(maxBodySize < maxCode, "a body fits one COBS block, which costs one byte");

std::uint32_t checksum(std::span<const std::uint8_t> bytes) {
  boost::crc_32_type crc;
  crc.process_bytes(bytes.data(), bytes.size());
  return crc.checksum();
}

void appendChecksum(Bytes& body) {
  const std::uint32_t sum = checksum(body);
  for (int shift = 24; shift >= 0; shift -= 8) body.push_back(static_cast<std::uint8_t>(sum >> shift));
}

std::uint32_t readChecksum(std::span<const std::uint8_t> bytes) {
  std::uint32_t sum = 0;
  for (const std::uint8_t byte : bytes) sum = sum << 8U | byte;
  return sum;
}

void appendCobs(Bytes& frame, std::span<const std::uint8_t> body) {
  std::size_t codeAt = frame.size();
  frame.push_back(1);
  for (const std::uint8_t byte : body) {
    if (byte != 0) {
      frame.push_back(byte);
      ++frame[codeAt];
    } else {
      codeAt = frame.size();
      frame.push_back(1);
    }
  }
}

std::optional<Bytes> decodeCobs(std::span<const std::uint8_t> encoded) {
  Bytes body;
  body.reserve(encoded.size());
  std::size_t at = 0;
  while (at < encoded.size()) {
    const std::size_t code = encoded[at];
    if (at + code > encoded.size()) return std::nullopt;
    const auto block = encoded.subspan(at + 1, code - 1);
    body.insert(body.end(), block.begin(), block.end());
    at += code;
    if (at < encoded.size() && code != maxCode) body.push_back(0);
  }
  return body;
}

}  // namespace

Bytes encodeFrame(std::span<const std::uint8_t> content) {
  Bytes body(content.begin(), content.end());
  appendChecksum(body);
  Bytes frame;
  frame.reserve(body.size() + 3);
  frame.push_back(frameDelimiter);
  appendCobs(frame, body);
  frame.push_back(frameDelimiter);
  return frame;
}

void FrameDecoder::feed(std::span<const std::uint8_t> bytes, const Sink& sink, const Sink& dropped) {
  while (!bytes.empty()) {
    const auto end = std::find(bytes.begin(), bytes.end(), frameDelimiter);
    const auto part = bytes.first(static_cast<std::size_t>(end - bytes.begin()));
    const auto kept = part.first(std::min(part.size(), maxEncodedSize - encoded_.size()));
    encoded_.insert(encoded_.end(), kept.begin(), kept.end());
    if (kept.size() < part.size()) overlong_ = true;
    if (part.size() == bytes.size()) return;
    finish(sink, dropped);
    bytes = bytes.subspan(part.size() + 1);
  }
}

void FrameDecoder::reset() {
  encoded_.clear();
  overlong_ = false;
}

void FrameDecoder::finish(const Sink& sink, const Sink& dropped) {
  if (encoded_.empty()) return;
  const std::optional<Bytes> body = overlong_ ? std::nullopt : decodeCobs(encoded_);
  if (!body || body->size() < minContentSize + checksumSize) {
    drop(dropped);
    return;
  }
  const auto content = std::span(*body).first(body->size() - checksumSize);
  if (checksum(content) != readChecksum(std::span(*body).last(checksumSize))) {
    drop(dropped);
    return;
  }
  reset();
  sink(content);
}

void FrameDecoder::drop(const Sink& dropped) {
  ++damaged_;
  if (dropped) dropped(encoded_);
  reset();
}

}  // namespace BX::link
