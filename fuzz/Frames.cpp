// The frame decoder against arbitrary bytes, and the encoder against arbitrary contents.
#include <vector>

#include "fuzz/Fuzz.h"
#include "platform/serial/Frame.h"

namespace {

using namespace BX;
using link::Bytes;
using Received = std::span<const std::uint8_t>;

// The sound contents among `received`, which arrives `step` bytes at a time.
std::vector<Bytes> decode(Received received, std::size_t step) {
  std::vector<Bytes> contents;
  link::FrameDecoder decoder;
  while (!received.empty()) {
    const auto piece = received.first(std::min(step, received.size()));
    decoder.feed(piece, [&](Received content) { contents.emplace_back(content.begin(), content.end()); });
    received = received.subspan(piece.size());
  }
  return contents;
}

void decodesTheSameInEverySplit(Received received) {
  const auto contents = decode(received, received.size());
  fuzz::require(contents == decode(received, 1) && contents == decode(received, 7), "pieces make no difference");
  for (const Bytes& content : contents) {
    fuzz::require(!content.empty() && content.size() <= link::maxContentSize, "a content has a size of its own");
  }
}

void finds(const Bytes& frame, const Bytes& content) {
  fuzz::require(decode(frame, frame.size()) == std::vector<Bytes>{content}, "a frame brings its content");
  fuzz::require(std::find(frame.begin() + 1, frame.end() - 1, link::frameDelimiter) == frame.end() - 1,
                "no delimiter within a frame");
}

void findsTheNextFrame(Received garbage, const Bytes& content, const Bytes& frame) {
  Bytes received(garbage.begin(), garbage.end());
  received.insert(received.end(), frame.begin(), frame.end());
  const auto contents = decode(received, received.size());
  fuzz::require(!contents.empty() && contents.back() == content, "garbage costs no frame after it");
}

void neverTakesADamagedOne(Bytes frame, const Bytes& content, std::size_t bit) {
  bit %= frame.size() * 8;
  frame[bit / 8] = static_cast<std::uint8_t>(frame[bit / 8] ^ 1U << bit % 8);
  for (const Bytes& taken : decode(frame, frame.size())) {
    fuzz::require(taken == content, "a damaged frame brings nothing wrong");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const std::size_t bit = input.twoBytes();
  const Received bytes = input.rest();
  decodesTheSameInEverySplit(bytes);
  if (bytes.empty()) return 0;
  const auto head = bytes.first(std::min(bytes.size(), link::maxContentSize));
  const Bytes content(head.begin(), head.end());
  const Bytes frame = link::encodeFrame(content);
  finds(frame, content);
  findsTheNextFrame(bytes, content, frame);
  neverTakesADamagedOne(frame, content, bit);
  return 0;
}
