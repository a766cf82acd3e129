// The frame decoder against arbitrary bytes, and the encoder against arbitrary contents.
#include <vector>

#include "fuzz/Fuzz.h"
#include "platform/codec/Frame.h"

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

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const std::size_t bit = input.twoBytes();
  const Received garbage = input.rest();
  fuzz::require(decode(garbage, size) == decode(garbage, 1), "pieces make no difference");
  if (garbage.empty()) return 0;
  const auto head = garbage.first(std::min(garbage.size(), link::maxContentSize));
  const Bytes content(head.begin(), head.end());
  const Bytes frame = link::encodeFrame(content);
  Bytes received(garbage.begin(), garbage.end());
  received.insert(received.end(), frame.begin(), frame.end());
  const auto contents = decode(received, received.size());
  fuzz::require(!contents.empty() && contents.back() == content, "garbage costs no frame after it");
  Bytes damaged = frame;
  const std::size_t at = bit / 8 % frame.size();
  damaged[at] = static_cast<std::uint8_t>(damaged[at] ^ 1U << bit % 8);
  for (const Bytes& taken : decode(damaged, damaged.size())) {
    fuzz::require(taken == content, "a damaged frame brings nothing wrong");
  }
  return 0;
}
