// Documents of arbitrary JSON through every operation that takes one, against a device that accepts everything.
#include <array>
#include <limits>
#include <string>

#include "bx/BXDevice.h"
#include "bx/DocumentKeys.h"
#include "fuzz/Fuzz.h"
#include "fuzz/InMemoryLink.h"
#include "morva/KeyedAccess.h"
#include "platform/Wire.h"
#include "platform/time/TimeSeam.h"
#include "tools/bx/Documents.h"

namespace {

using namespace BX;
using fuzz::Bytes;
using fuzz::require;
using Json = MORVA::MORVADataTypeJSON;
using Payloads = std::vector<Bytes>;

constexpr std::size_t headSize = 3;  // letter, number, index
constexpr std::size_t sumSize = 1;

// Keys of every type and kind of document.
constexpr std::array<const char*, 9> keys = {
    key::settings::mounting,     key::session::isInFieldMode,  key::session::numberOfBullets,
    key::session::cockingDelay,  key::target::nominalDistance, key::ring::caliber,
    key::ring::ringTargetNumber, key::ring::diameterVariable,  key::silhouette::bitmap};

// What `operation` of a fresh device sends, each request accepted.
template <typename Operation>
Payloads sent(const Operation& operation) {
  Payloads payloads;
  fuzz::farEnd() = {[&payloads](const Bytes& request) -> Payloads {
    payloads.push_back(request);
    return {{wire::replyMark, request.front()}};
  }};
  BXDevice device;
  device.setDevicePort("fuzz");
  device.getSerialCom().openPort();
  require(operation(device), "a device that accepts everything is served");
  for (const Bytes& payload : payloads) {
    const Bytes unsealed(payload.begin(), payload.end() - 1);
    require(device.getSerialCom().calculateSum(unsealed) == payload.back(), "a sum byte ends every request");
  }
  return payloads;
}

Payloads settings(const Json& document) {
  const auto payloads = sent([&](BXDevice& device) {
    device.setSessionSettings(document);
    device.setDeviceSettings(document);
    device.startThread();
    return device.setParameterSetFrames();
  });
  require(payloads.size() == 5, "a mode and four frames");
  for (std::size_t i = 1; i < payloads.size(); ++i) require(payloads[i].size() == 19, "of one length");
  return payloads;
}

std::size_t nameFrameSize(const Json& document, std::size_t emptySize) {
  const auto length = getText(document, key::target::targetName).size();
  return headSize + std::max<std::size_t>(length == 0 ? emptySize : length, 10) + 6 + sumSize;
}

Payloads ring(const Json& document) {
  Json target = document;
  const auto payloads = sent([&](BXDevice& device) { return device.uploadRingTarget(target); });
  require(payloads.size() == 4, "a ring target is four frames");
  for (std::size_t i = 0; i < 3; ++i) require(payloads[i].size() == 20, "the first three of one length");
  require(payloads[3].size() == nameFrameSize(document, 10), "the last as long as the name asks for");
  return payloads;
}

std::size_t rowCount(const Json& document) {
  const auto& root = document.getDocument();
  if (!root.IsObject() || !root.HasMember(key::silhouette::bitmap)) return 0;
  const auto& rows = root[key::silhouette::bitmap];
  return rows.IsArray() ? rows.Size() : 0;
}

Payloads silhouette(const Json& document) {
  Json target = document;
  const auto payloads = sent([&](BXDevice& device) { return device.uploadSilhouetteTarget(target); });
  require(payloads.size() == 2 + rowCount(document), "a silhouette is two frames, and one for each row");
  require(payloads[0].size() == 20, "settings have one length");
  require(payloads[1].size() == nameFrameSize(document, 0), "a name as long as it asks for");
  return payloads;
}

Payloads everything(const Json& document) {
  Payloads all;
  for (const auto operation : {settings, ring, silhouette}) {
    const auto payloads = operation(document);
    all.insert(all.end(), payloads.begin(), payloads.end());
  }
  return all;
}

// A document that the tool lets pass is one that the wire holds; a name may be longer than its field.
void check(const Json& document, const std::string& text) {
  using tool::DocumentKind;
  for (const auto kind : {DocumentKind::DeviceSettings, DocumentKind::SessionSettings}) tool::check(document, kind);
  tool::check(document, DocumentKind::RingTarget);
  if (tool::check(document, DocumentKind::SilhouetteTarget).problems.empty()) {
    constexpr std::size_t nameFrame = 1;
    const auto frames = silhouette(document);
    for (std::size_t i = 0; i < frames.size(); ++i) {
      require(i == nameFrame || frames[i].size() == 20, "a checked silhouette fits");
    }
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
  Json member;
  require(setDocument(member, "one", document), "an object has members");
  Json list(MORVA::JSONType::Array);
  appendDocument(list, document);
  require(everything(again) == everything(document), "nor does the wire know the difference");
}

void becomesInfinite(Json& document, std::uint8_t which) {
  using Limits = std::numeric_limits<double>;
  constexpr std::array values{Limits::infinity(), -Limits::infinity(), Limits::quiet_NaN(), Limits::max()};
  if (!setDouble(document, keys[which % keys.size()], values[which / keys.size() % values.size()])) return;
  everything(document);
  Json again;
  require(again.parseString(document.toString()), "an infinity does not spoil the text");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::silenceConsole();
  platform::replaceTime({[](std::chrono::milliseconds) {}, [] { return 0U; }});
  fuzz::Input input(data, size);
  const std::uint8_t which = input.byte();
  const auto bytes = input.rest();
  const std::string text(bytes.begin(), bytes.end());
  Json document;
  if (!document.parseString(text)) {
    require(document.toString() == "{}", "what is not JSON changes nothing");
    return 0;
  }
  writesItself(document);
  check(document, text);
  becomesInfinite(document, which);
  return 0;
}
