// Every decoder of a payload: records, information, parameter sets, pages of stored results, ring and silhouette
// targets. The decoders that read a field unasked are given what their callers let through, and nothing more.
#include <array>
#include <string>

#include "config/ControlBytes.h"
#include "config/ParameterSetFrame.h"
#include "device/InformationReply.h"
#include "download/StoredResultsWire.h"
#include "fuzz/Fuzz.h"
#include "morva/KeyedAccess.h"
#include "records/RecordDecoder.h"
#include "records/RecordFormat.h"
#include "targets/RingCodec.h"
#include "targets/SilhouetteCodec.h"

namespace {

using namespace BX;
using fuzz::require;
using Json = MORVA::MORVADataTypeJSON;
using Payload = std::span<const std::uint8_t>;

void isJson(const Json& document) {
  const std::string text = document.toString();
  Json again;
  require(again.parseString(text) && again.toString() == text, "a decoded document survives its own text");
}

void readRecord(fuzz::Input& input) {
  constexpr const char* units[] = {"Meters", "Yards", "yd", ""};
  const bool stored = input.byte() % 2 == 1;
  const std::int32_t distance = static_cast<std::int16_t>(input.twoBytes()) * (stored ? 1 : 65536);
  const records::TargetInUse target{distance, units[input.byte() % 4], input.byte()};
  const Payload frame = input.rest();
  if (!records::isDecodable(frame)) return;
  isJson(records::kindOf(frame) == records::RecordKind::Shot
             ? records::shotDocument(records::decodeShot(frame, target))
             : records::measurementDocument(records::decodeMeasurement(frame, target, stored)));
}

void readInformation(fuzz::Input& input) try {
  const auto item = device::decodeInformation(input.rest());
  if (!item) return;
  require(item->text.size() <= 15 && item->text.find('\0') == std::string::npos, "an item is a short text");
  if (const auto setting = device::settingOf(*item)) require(setting->value.size() <= 15, "and so is its setting");
} catch (const std::out_of_range&) {  // a date or time without its label
}

void readParameterSet(fuzz::Input& input) {
  const Payload reply = input.rest();
  config::describeUnexpected(reply);
  if (const auto byte = config::frameNumber(reply) ? config::controlByte(reply) : std::nullopt) {
    config::encode(config::decodePlacement(*byte));
    config::encode(config::decodeEvaluation(*byte));
  }
}

void readPageTable(fuzz::Input& input) {
  const Payload reply = input.rest();
  if (!download::isWholePageTable(reply)) return;
  std::vector<download::Bytes> pages;
  download::appendPages(reply, pages);
  require(pages.size() == download::blocksRead, "a table has every block");
}

void readRingReply(Payload reply, Json& target) {
  namespace ring = targets::ring;
  if (!ring::isWhole(reply)) return;
  const auto part = reply[targets::reply::indexOffset];
  if (part == ring::headerPart) {
    ring::writeUnits(reply[targets::reply::contentOffset], target);
    ring::writeHeader(reply, target);
  } else if (part == ring::innerPart || part == ring::outerPart) {
    ring::writeDiameters(reply, target);
  } else {
    setText(target, key::target::targetName, targets::nameOf(reply));
  }
}

void readSilhouetteReply(Payload reply, Json& target) {
  namespace silhouette = targets::silhouette;
  if (!silhouette::isWhole(reply)) return;
  const auto kind = silhouette::kindOf(reply);
  if (kind == silhouette::Reply::Settings) {
    silhouette::writeUnits(reply[targets::reply::indexOffset], target);
    silhouette::writeSettings(reply, target);
  } else if (kind == silhouette::Reply::Name) {
    setText(target, key::target::targetName, targets::nameOf(reply));
  } else {
    silhouette::appendRow(reply, target);
  }
}

// Replies that follow each other onto one document.
template <auto Read>
void readTarget(fuzz::Input& input) {
  Json target;
  while (!input.empty()) Read(input.block(), target);
  isJson(target);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::silenceConsole();
  fuzz::Input input(data, size);
  constexpr std::array readers = {readRecord,    readInformation,           readParameterSet,
                                  readPageTable, readTarget<readRingReply>, readTarget<readSilhouetteReply>};
  readers[input.byte() % readers.size()](input);
  return 0;
}
