// Frames, pinned by bytes that were computed apart from this code (CRC-32 of zlib, COBS by hand).
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "platform/serial/Frame.h"
#include "tests/support/Hex.h"

namespace BX::link {
namespace {

using test::bytesOf;
using test::hexOf;

struct Pinned {
  const char* content;
  const char* frame;
};

const std::vector<Pinned> pinned{
    {"3F01", "00043F016E03085500"},
    {"01", "000601A505DF1B00"},
    {"00017373", "000108017373ED98BF9800"},
    {"000000", "0001010105FF41D91200"},
    {"0400CA6A00FF11130D", "00020403CA6A09FF11130DA6585BC200"},
};

std::vector<std::string> decodeInPieces(FrameDecoder& decoder, const Bytes& stream, std::size_t piece) {
  std::vector<std::string> contents;
  for (std::size_t at = 0; at < stream.size(); at += piece) {
    const auto size = std::min(piece, stream.size() - at);
    decoder.feed(std::span(stream).subspan(at, size), [&](auto content) { contents.push_back(hexOf(content)); });
  }
  return contents;
}

TEST(Frame, encodesAsPinned) {
  for (const auto& [content, frame] : pinned) EXPECT_EQ(hexOf(encodeFrame(bytesOf(content))), frame);
}

TEST(Frame, addsAtMostNineBytesWithItsHeader) {
  for (const int fill : {0x00, 0x01, 0xFF}) {
    const Bytes content(maxContentSize, static_cast<std::uint8_t>(fill));
    EXPECT_LE(encodeFrame(content).size(), 240U + 9U);
  }
}

TEST(Frame, decodesTheSameInEverySplit) {
  Bytes stream;
  std::vector<std::string> expected;
  for (const auto& [content, frame] : pinned) {
    const Bytes bytes = bytesOf(frame);
    stream.insert(stream.end(), bytes.begin(), bytes.end());
    expected.emplace_back(content);
  }
  for (std::size_t piece = 1; piece <= stream.size(); ++piece) {
    FrameDecoder decoder;
    EXPECT_EQ(decodeInPieces(decoder, stream, piece), expected) << "pieces of " << piece;
    EXPECT_EQ(decoder.damaged(), 0U);
  }
}

TEST(Frame, losesNoGoodFrameToWhatComesBeforeIt) {
  const std::string good = "000108017373ED98BF9800";
  const std::vector<std::string> garbage{
      "",
      "00",
      "000000",
      "FF",                           // one stray byte
      "000108017373ED98",             // cut short
      "000108017373ED98BF9900",       // a wrong bit
      "0001080173ED98BF9800",         // a byte lost
      "00FF0102",                     // a code that points past its end
      "000100",                       // too short for a checksum
      "00050102030400",               // nothing but a checksum
      "00" + std::string(4000, '1'),  // longer than any frame
      "0D0A414243",                   // text at the wrong speed
  };
  for (const auto& before : garbage) {
    FrameDecoder decoder;
    EXPECT_EQ(decodeInPieces(decoder, bytesOf(before + good), 3), std::vector<std::string>{"00017373"}) << before;
  }
}

TEST(Frame, acceptsNoDamagedFrame) {
  const Bytes frame = encodeFrame(bytesOf("0400CA6A00FF11130D"));
  for (std::size_t bit = 8; bit < (frame.size() - 1) * 8; ++bit) {
    Bytes damaged = frame;
    damaged[bit / 8] ^= static_cast<std::uint8_t>(1U << bit % 8);
    FrameDecoder decoder;
    EXPECT_TRUE(decodeInPieces(decoder, damaged, damaged.size()).empty()) << "bit " << bit;
    EXPECT_GE(decoder.damaged(), 1U);
  }
}

TEST(Frame, decodesWhatItEncodes) {
  std::mt19937 random(7);
  for (std::size_t size = 1; size <= maxContentSize; ++size) {
    Bytes content(size);
    for (auto& byte : content) byte = static_cast<std::uint8_t>(random() % 4 == 0 ? 0 : random());
    FrameDecoder decoder;
    EXPECT_EQ(decodeInPieces(decoder, encodeFrame(content), 17), std::vector<std::string>{hexOf(content)});
  }
}

}  // namespace
}  // namespace BX::link
