// Every decoder of a payload: records, information, parameter sets, pages of stored results, ring and silhouette
// targets. The decoders that read a field unasked are given what their callers let through, and nothing more.
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
  if (records::kindOf(frame) == records::RecordKind::Shot) {
    records::Shot shot = records::decodeShot(frame, target);
    if (stored) shot.aimingTime = shot.time / 1000.0;
    isJson(records::shotDocument(shot));
  } else {
    isJson(records::measurementDocument(records::decodeMeasurement(frame, target, stored)));
  }
}

void readInformation(Payload reply) {
  const auto item = device::decodeInformation(reply);
  if (!item) return;
  require(item->text.size() <= 15 && item->text.find('\0') == std::string::npos, "an item is a short text");
  try {
    if (const auto setting = device::settingOf(*item)) require(setting->value.size() <= 15, "and so is its setting");
  } catch (const std::out_of_range&) {  // a date or time without its label
  }
}

void readParameterSet(Payload reply) {
  config::describeUnexpected(reply);
  if (!config::frameNumber(reply)) return;
  const auto byte = config::controlByte(reply);
  if (!byte) return;
  const auto placement = config::encode(config::decodePlacement(*byte));
  require(config::encode(config::decodePlacement(placement)) == placement, "placement survives the wire");
  const auto evaluation = config::encode(config::decodeEvaluation(*byte));
  require(config::encode(config::decodeEvaluation(evaluation)) == evaluation, "evaluation survives the wire");
}

void readPageTable(Payload reply) {
  if (!download::isWholePageTable(reply)) return;
  std::vector<download::Bytes> pages;
  download::appendPages(reply, pages);
  require(pages.size() == download::blocksRead, "a table has every block");
  for (std::size_t block = 0; block < pages.size(); ++block) require(pages[block][0] == block, "blocks count");
}

void readRingReply(Payload reply, Json& target) {
  namespace ring = targets::ring;
  if (!ring::isWhole(reply)) return;
  switch (reply[targets::reply::indexOffset]) {
    case ring::headerPart:
      ring::writeUnits(reply[targets::reply::contentOffset], target);
      ring::distanceOf(reply);
      return ring::writeHeader(reply, target);
    case ring::innerPart:
    case ring::outerPart:
      return ring::writeDiameters(reply, target);
    default:
      setText(target, key::target::targetName, targets::nameOf(reply));
  }
}

void readSilhouetteReply(Payload reply, Json& target) {
  namespace silhouette = targets::silhouette;
  if (!silhouette::isWhole(reply)) return;
  switch (silhouette::kindOf(reply)) {
    case silhouette::Reply::Settings:
      silhouette::writeUnits(reply[targets::reply::indexOffset], target);
      silhouette::distanceOf(reply);
      return silhouette::writeSettings(reply, target);
    case silhouette::Reply::Name:
      setText(target, key::target::targetName, targets::nameOf(reply));
      return;
    case silhouette::Reply::Row:
      silhouette::rowTargetOf(reply);
      silhouette::appendRow(reply, target);
  }
}

// Replies that follow each other onto one document.
template <typename Read>
void readTarget(fuzz::Input& input, const Read& read) {
  Json target;
  while (!input.empty()) read(input.block(), target);
  isJson(target);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::silenceConsole();
  fuzz::Input input(data, size);
  switch (input.byte() % 6) {
    case 0:
      readRecord(input);
      break;
    case 1:
      readInformation(input.rest());
      break;
    case 2:
      readParameterSet(input.rest());
      break;
    case 3:
      readPageTable(input.rest());
      break;
    case 4:
      readTarget(input, readRingReply);
      break;
    default:
      readTarget(input, readSilhouetteReply);
  }
  return 0;
}
