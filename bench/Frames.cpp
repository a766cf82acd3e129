// The bytes that the link adds to a payload.
#include <algorithm>

#include "bench/Line.h"
#include "bench/Sections.h"
#include "platform/codec/Frame.h"

namespace BX::bench {

Rows measureFrames(const Setting&) {
  constexpr std::size_t longest = 240;
  std::size_t most = 0;
  for (std::size_t size = 1; size <= longest; ++size) {
    for (const std::uint8_t filling : {std::uint8_t{0}, std::uint8_t{1}, std::uint8_t{0xFF}}) {
      most = std::max(most, framed(sim::Bytes(size, filling)) - size);
    }
  }
  return {{.what = "bytes that the link adds to a payload of up to 240 bytes",
           .against = "the payload",
           .bar = Bar::AtMost,
           .limit = 9,
           .got = static_cast<double>(most),
           .unit = "bytes",
           .detail = "payloads of 1 to 240 bytes, of zeros, ones and 0xFF"}};
}

}  // namespace BX::bench
