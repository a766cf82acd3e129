#include "BoardLane.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <initializer_list>

#include "bx/DocumentKeys.h"
#include "platform/Utf8.h"
#include "scoring/FaceSvg.h"
#include "scoring/Members.h"
#include "viewer/Document.h"

namespace BX::range {

namespace {

using rapidjson::Document;
using rapidjson::Value;
using scoring::memberOf;
using scoring::textOf;
using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

// A hit without a value, at a face that gives values, was one at another target.
constexpr int anotherTarget = -1;

void putText(Writer& writer, const char* key, const std::string& text) {
  const std::string shown = platform::printable(text);
  writer.Key(key);
  writer.String(shown.data(), static_cast<rapidjson::SizeType>(shown.size()));
}

void putNumbers(Writer& writer, const Value& object, std::initializer_list<const char*> keys) {
  for (const char* const key : keys) {
    writer.Key(key);
    if (const auto number = scoring::integerOf(object, key)) {
      writer.Int(*number);
    } else {
      writer.Null();
    }
  }
}

void putObject(Writer& writer, const Value& score, const char* key, std::initializer_list<const char*> numbers) {
  const Value& object = memberOf(score, key);
  writer.Key(key);
  if (!object.IsObject()) return void(writer.Null());
  writer.StartObject();
  putNumbers(writer, object, numbers);
  putText(writer, "at", textOf(object, "at"));
  const Value& inner = memberOf(object, "inner");
  writer.Key("inner");
  writer.Bool(inner.IsBool() && inner.GetBool());
  writer.EndObject();
}

Document headerOf(const Value& score) {
  Document header(rapidjson::kObjectType);
  auto& allocator = header.GetAllocator();
  header.AddMember("start", Value(memberOf(score, "since"), allocator), allocator);
  header.AddMember("target", Value(memberOf(score, "target"), allocator), allocator);
  return header;
}

Document recordOf(const Value& hit, bool isScored) {
  Document record(rapidjson::kObjectType);
  auto& allocator = record.GetAllocator();
  const auto add = [&](const char* key, auto value) {
    record.AddMember(rapidjson::StringRef(key), Value(value), allocator);
  };
  add(key::record::shotNumber, 0);
  if (const auto x = scoring::numberOf(hit, "x")) add(key::record::positionX, *x);
  if (const auto y = scoring::numberOf(hit, "y")) add(key::record::positionY, *y);
  if (isScored && memberOf(hit, "value").IsNull()) add(key::ring::ringTargetNumber, anotherTarget);
  return record;
}

scoring::Session seriesOf(const Value& score) {
  scoring::Session session(headerOf(score));
  const bool isScored = session.targets().front().isScored();
  const Value& hits = memberOf(memberOf(score, "series"), "shots");
  if (!hits.IsArray()) return session;
  for (const auto& hit : hits.GetArray()) session.add(recordOf(hit, isScored));
  return session;
}

}  // namespace

std::string quoted(const std::string& text) {
  rapidjson::StringBuffer buffer;
  Writer writer(buffer);
  const std::string shown = platform::printable(text);
  writer.String(shown.data(), static_cast<rapidjson::SizeType>(shown.size()));
  return buffer.GetString();
}

std::optional<Status> statusOf(const Value& message) {
  Status status{textOf(message, "state"), textOf(message, "since"), textOf(message, "reason")};
  return status.state.empty() ? std::nullopt : std::optional(status);
}

std::optional<LaneScore> laneScoreOf(const Value& message) {
  if (!scoring::numberOf(message, "shots")) return std::nullopt;
  const scoring::Session session = seriesOf(message);
  rapidjson::StringBuffer buffer;
  Writer writer(buffer);
  writer.StartObject();
  putText(writer, "since", textOf(message, "since"));
  putNumbers(writer, message, {"shots", "total", "tenths", "innerTens"});
  putObject(writer, message, "series", {"number", "total", "tenths"});
  putObject(writer, message, "last", {"number", "value", "tenths"});
  const std::string document = viewer::documentOf(session, {});
  writer.Key("document");
  writer.RawValue(document.data(), document.size(), rapidjson::kObjectType);
  writer.EndObject();
  return LaneScore{buffer.GetString(), scoring::faceShapes(session.targets().front())};
}

}  // namespace BX::range
