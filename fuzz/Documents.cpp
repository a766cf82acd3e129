// Documents of arbitrary JSON through every operation that takes one, against a device that accepts everything.
#include <algorithm>
#include <array>
#include <limits>
#include <string>

#include "bx/BXDevice.h"
#include "bx/DocumentKeys.h"
#include "fuzz/Fuzz.h"
#include "morva/KeyedAccess.h"
#include "platform/Hex.h"
#include "platform/Wire.h"
#include "simulator/DeviceWire.h"
#include "tests/support/LoopbackDevice.h"
#include "tools/bx/Documents.h"

namespace {

using namespace BX;
using fuzz::require;
using Json = MORVA::MORVADataTypeJSON;
using Payloads = std::vector<std::string>;

// Keys of every type and kind of document.
constexpr std::array<const char*, 9> keys = {
    key::settings::mounting,     key::session::isInFieldMode,  key::session::numberOfBullets,
    key::session::cockingDelay,  key::target::nominalDistance, key::ring::caliber,
    key::ring::ringTargetNumber, key::ring::diameterVariable,  key::silhouette::bitmap};

// The payloads that a document becomes, each accepted: settings, ring and silhouette, as hexadecimal text.
struct Sent {
  Payloads settings;
  Payloads ring;
  Payloads silhouette;
  bool operator==(const Sent&) const = default;
};

Sent everything(const Json& document) {
  using namespace wire::letter;
  sim::Options options;
  for (const auto letter : {mode, parameterSet, ringUpload, silhouetteUpload}) {
    options.script.push_back({{letter}, {wire::replyMark, letter}});
  }
  const test::LoopbackDevice far(options);
  BXDevice device;
  device.setDevicePort(far.port);
  device.getSerialCom().openPort();
  device.setSessionSettings(document);
  device.setDeviceSettings(document);
  device.startThread();
  Json target = document;
  require(device.setParameterSetFrames() && device.uploadRingTarget(target) && device.uploadSilhouetteTarget(target),
          "a device that accepts everything is served");
  for (const auto& payload : far.sent()) {
    const auto bytes = platform::bytesOf(payload);
    require(sim::wire::sumOf(std::span(bytes).first(bytes.size() - 1)) == bytes.back(), "a sum ends each request");
  }
  return {far.sent("64"), far.sent("6C"), far.sent("66")};
}

bool haveSize(std::span<const std::string> payloads, std::size_t size) {
  return std::all_of(payloads.begin(), payloads.end(), [size](const auto& one) { return one.size() == 2 * size; });
}

// Only a name may be longer than its frame; rows are as long as their document has them, unless the tool lets it pass.
void fits(const Json& document) {
  const auto [settings, ring, silhouette] = everything(document);
  require(settings.size() == 4 && haveSize(settings, 19), "settings are four frames");
  require(ring.size() == 4 && haveSize(std::span(ring).first(3), 20), "a ring target is four frames");
  require(silhouette.size() >= 2 && haveSize(std::span(silhouette).first(1), 20), "a silhouette is two and its rows");
  if (tool::check(document, tool::DocumentKind::SilhouetteTarget).problems.empty()) {
    require(haveSize(std::span(silhouette).subspan(2), 20), "a checked silhouette fits");
  }
}

void check(const Json& document, const std::string& text) {
  using tool::DocumentKind;
  for (const auto kind : {DocumentKind::DeviceSettings, DocumentKind::SessionSettings, DocumentKind::RingTarget}) {
    tool::check(document, kind);
  }
  try {
    require(tool::parseDocument(text, "text").toString() == document.toString(), "the tool reads the same document");
  } catch (const tool::Failure&) {  // it refuses more than the library does
  }
}

void writesItself(const Json& document) {
  const std::string text = document.toString();
  Json again;
  require(again.parseString(text) && again.toString() == text, "a document survives its own text");
  require(!again.parseString(text + "]") && again.toString() == text, "what is not JSON changes nothing");
  require(everything(again) == everything(document), "nor does the wire know the difference");
}

void becomesInfinite(Json& document, std::uint8_t which) {
  using Limits = std::numeric_limits<double>;
  constexpr std::array values{Limits::infinity(), -Limits::infinity(), Limits::quiet_NaN(), Limits::max()};
  if (!setDouble(document, keys[which % keys.size()], values[which / keys.size() % values.size()])) return;
  fits(document);
  Json again;
  require(again.parseString(document.toString()), "an infinity does not spoil the text");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::silenceConsole();
  fuzz::Input input(data, size);
  const std::uint8_t which = input.byte();
  const auto bytes = input.rest();
  const std::string text(bytes.begin(), bytes.end());
  Json document;
  if (!document.parseString(text)) return 0;
  writesItself(document);
  fits(document);
  check(document, text);
  becomesInfinite(document, which);
  return 0;
}
