// A link in memory, linked in BX_SERIAL_COM's place: the device library's requests are answered by a function of the
// fuzzer, at once and on the calling thread. Ports are always there.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace BX::fuzz {

using Bytes = std::vector<std::uint8_t>;

struct FarEnd {
  // The payloads that answer a request, the last one last. None: the exchange fails.
  std::function<std::vector<Bytes>(const Bytes& request)> answer;
  // The next payload of a stream; nothing: the stream is over.
  std::function<std::optional<Bytes>()> streamed = [] { return std::nullopt; };
};

// What all links talk to.
FarEnd& farEnd();

}  // namespace BX::fuzz
