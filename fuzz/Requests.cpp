// The simulated device's model against arbitrary requests, in every mode, while it streams what it likes.
#include "fuzz/Fuzz.h"
#include "simulator/DeviceModel.h"

namespace {

using namespace BX;
using fuzz::require;
using sim::Bytes;

constexpr std::size_t longestStream = 64;

// The option that the input begins with: the built-in shooter, or a file of payloads; what was stored; a script.
sim::Options options(fuzz::Input& input) {
  sim::Options options;
  const std::uint8_t given = input.byte();
  const auto bytes = [&input] {
    const auto block = input.block();
    return Bytes(block.begin(), block.end());
  };
  if ((given & 1U) != 0) options.stream = {bytes(), bytes(), {sim::wire::accepted}};
  if ((given & 2U) != 0) {
    const auto block = static_cast<std::uint8_t>(input.byte() % sim::wire::storedBlocks);
    options.stored.push_back({block, input.byte(), bytes()});
  }
  if ((given & 4U) != 0) options.script.push_back({bytes(), bytes()});
  options.seed = given;
  return options;
}

// A request as it stands, or with the sum byte that it should have.
Bytes request(fuzz::Input& input) {
  const std::uint8_t length = input.byte();
  const auto block = input.take(length & 0x7FU);
  Bytes bytes(block.begin(), block.end());
  if ((length & 0x80U) == 0) bytes.push_back(sim::wire::sumOf(bytes));
  return bytes;
}

void stream(sim::DeviceModel& model) {
  for (std::size_t sent = 0; sent < longestStream && model.hasStreamed(); ++sent) model.nextStreamed();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const sim::Options given = options(input);
  sim::DeviceModel model(given);
  while (!input.empty()) {
    const auto answer = model.answer(request(input));
    require(!answer.empty(), "every request has an answer");
    stream(model);
  }
  model.rest();
  require(!model.hasStreamed(), "a device at rest streams nothing");
  return 0;
}
