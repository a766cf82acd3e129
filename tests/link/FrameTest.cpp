// Frames, pinned by bytes that were computed apart from this code (CRC-32 of zlib, COBS by hand).
#include "platform/serial/Frame.h"

#include <gmock/gmock.h>

#include "tests/support/Hex.h"

namespace BX::link {
namespace {

using test::bytesOf;
using test::hexOf;
using testing::ElementsAre;
using testing::Le;
using testing::SizeIs;

struct Pinned {
  const char* content;
  const char* frame;
};

constexpr Pinned pinned[] = {
    {"3F01", "00043F016E03085500"},
    {"01", "000601A505DF1B00"},
    {"00017373", "000108017373ED98BF9800"},
    {"000000", "0001010105FF41D91200"},
    {"0400CA6A00FF11130D", "00020403CA6A09FF11130DA6585BC200"},
};

// The contents of the frames in `stream`, which arrives in pieces.
std::vector<std::string> decode(const Bytes& stream, std::size_t piece) {
  std::vector<std::string> contents;
  FrameDecoder decoder;
  for (std::size_t at = 0; at < stream.size(); at += piece) {
    const auto part = std::span(stream).subspan(at, std::min(piece, stream.size() - at));
    decoder.feed(part, [&](auto content) { contents.push_back(hexOf(content)); });
  }
  return contents;
}

TEST(Frame, travelsAsPinnedInEverySplit) {
  std::string stream;
  std::vector<std::string> contents;
  for (const auto& [content, frame] : pinned) {
    EXPECT_EQ(hexOf(encodeFrame(bytesOf(content))), frame);
    stream += frame;
    contents.emplace_back(content);
  }
  for (std::size_t piece = 1; piece <= stream.size() / 2; ++piece) EXPECT_EQ(decode(bytesOf(stream), piece), contents);
}

TEST(Frame, losesNoGoodOneToWhatComesBeforeIt) {
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
    EXPECT_THAT(decode(bytesOf(before + "000108017373ED98BF9800"), 3), ElementsAre("00017373")) << before;
  }
}

TEST(Frame, bringsContentsOfEverySizeAndAddsNineBytesAtMost) {
  for (std::size_t size = 1; size <= maxContentSize; ++size) {
    for (const char* const fill : {"00", "01", "FF"}) {
      const Bytes content(size, bytesOf(fill)[0]);
      const Bytes frame = encodeFrame(content);
      EXPECT_THAT(frame, SizeIs(Le(size + 7)));  // and two bytes of header within the content
      EXPECT_THAT(decode(frame, 17), ElementsAre(hexOf(content)));
    }
  }
}

}  // namespace
}  // namespace BX::link
