// The simulated device's model against arbitrary requests, in every mode, while it streams what it likes.
#include "fuzz/Fuzz.h"
#include "simulator/DeviceModel.h"

namespace {

using namespace BX;
using fuzz::require;
using sim::Bytes;

constexpr std::size_t longestStream = 64;

Bytes block(fuzz::Input& input, std::size_t size) {
  const auto bytes = input.take(size);
  return {bytes.begin(), bytes.end()};
}

// The option that the input begins with: the built-in shooter, or a file of payloads; what was stored; a script.
sim::Options options(fuzz::Input& input) {
  const auto bytes = [&input] { return block(input, input.byte()); };
  sim::Options options;
  options.seed = input.byte();
  if ((options.seed & 1U) != 0) options.stream = {bytes(), bytes(), {sim::wire::accepted}};
  if ((options.seed & 2U) != 0) {
    const auto number = static_cast<std::uint8_t>(input.byte() % sim::wire::storedBlocks);
    options.stored.push_back({number, input.byte(), bytes()});
  }
  if ((options.seed & 4U) != 0) options.script.push_back({bytes(), bytes()});
  return options;
}

// A request as it stands, or with the sum byte that it should have.
Bytes request(fuzz::Input& input) {
  const std::uint8_t length = input.byte();
  Bytes bytes = block(input, length & 0x7FU);
  if ((length & 0x80U) == 0) bytes.push_back(sim::wire::sumOf(bytes));
  return bytes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const sim::Options given = options(input);
  sim::DeviceModel model(given);
  while (!input.empty()) {
    const auto answer = model.answer(request(input));
    require(!answer.empty(), "every request has an answer");
    for (std::size_t i = 0; i < longestStream && model.hasStreamed(); ++i) model.nextStreamed();
  }
  model.rest();
  require(!model.hasStreamed(), "a device at rest streams nothing");
  return 0;
}
