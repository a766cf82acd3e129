// Frames, pinned by bytes that were computed apart from this code (CRC-32 of zlib, COBS by hand). Garbage, damage and
// every size are the fuzzer's, whose corpus belongs to the suite.
#include "platform/codec/Frame.h"

#include <gtest/gtest.h>

#include "tests/support/Hex.h"
#include "tests/support/Table.h"

namespace BX::link {
namespace {

using test::bytesOf, test::hexOf;

TEST(Frame, travelsAsPinnedInEverySplit) {
  std::string stream = "FF 73 00";  // is dropped
  std::vector<std::string> contents;
  for (const auto& row : test::rowsOf(R"(
    3F01                 | 00043F016E03085500
    7301                 | 0007730132CC085C00
    01                   | 000601A505DF1B00
    00017373             | 000108017373ED98BF9800
    000000               | 0001010105FF41D91200
    0400CA6A00FF11130D   | 00020403CA6A09FF11130DA6585BC200)")) {
    EXPECT_EQ(hexOf(encodeFrame(bytesOf(row[0]))), row[1]);
    contents.push_back(row[0]);
    stream += row[1];
  }
  const Bytes received = bytesOf(stream);
  for (std::size_t piece = 1; piece <= received.size(); ++piece) {
    std::vector<std::string> decoded;
    FrameDecoder decoder;
    for (std::size_t at = 0; at < received.size(); at += piece) {
      const auto part = std::span(received).subspan(at, std::min(piece, received.size() - at));
      decoder.feed(part, [&](auto content) { decoded.push_back(hexOf(content)); });
    }
    EXPECT_EQ(decoded, contents) << piece;
  }
  // Two bytes of header are within the content.
  EXPECT_EQ(encodeFrame(Bytes(maxContentSize)).size(), maxContentSize + 7);
}

}  // namespace
}  // namespace BX::link
