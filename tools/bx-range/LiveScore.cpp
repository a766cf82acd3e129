#include "LiveScore.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <span>
#include <vector>

#include "morva/KeyedAccess.h"
#include "scoring/Members.h"

namespace BX::range {

namespace {

using scoring::Score;
using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

// Without a length of its own, a series is as long as the session; a board draws no more hits than these.
constexpr std::size_t mostHits = 100;
constexpr int decimalPlaces = 3;  // of millimetres

void writeHit(Writer& writer, const Score& score) {
  writer.Key("x");
  score.shot->position ? writer.Double(score.shot->position->x) : writer.Null();
  writer.Key("y");
  score.shot->position ? writer.Double(score.shot->position->y) : writer.Null();
  writer.Key("value");
  score.value ? writer.Int(score.value->ring) : writer.Null();
  writer.Key("tenths");
  score.value ? writer.Int(score.value->tenths) : writer.Null();
  writer.Key("inner");
  writer.Bool(score.value && score.value->isInner);
}

void writeSeries(Writer& writer, std::size_t number, std::span<const Score> scores) {
  const auto tally = scoring::tallyOf(scores);
  writer.StartObject();
  writer.Key("number");
  writer.Uint64(number);
  writer.Key("total");
  writer.Int(tally.total);
  writer.Key("tenths");
  writer.Int(tally.tenths);
  writer.Key("shots");
  writer.StartArray();
  for (const auto& score : scores.last(std::min(scores.size(), mostHits))) {
    writer.StartObject();
    writeHit(writer, score);
    writer.EndObject();
  }
  writer.EndArray();
  writer.EndObject();
}

}  // namespace

LiveScore::LiveScore(SessionNumber number, const tool::Json& header)
    : number_(number), target_(MORVA::getDocument(header, "target")), session_(header.getDocument()) {}

void LiveScore::add(const tool::Json& shot, const std::string& time) {
  session_.add(shot.getDocument());
  lastTime_ = time;
}

std::string LiveScore::text() const {
  std::vector<Score> scores;
  for (const auto& shot : session_.shots()) {
    scores.push_back(scoreOf(session_, session_.targetOf(shot).value_or(0), scoring::Gauge::Edge, shot));
  }
  const auto tally = scoring::tallyOf(scores);
  const std::size_t perSeries = static_cast<std::size_t>(std::max(session_.bulletsInSeries().value_or(0), 0));
  const std::size_t series = scores.empty() || perSeries == 0 ? 0 : (scores.size() - 1) / perSeries;
  rapidjson::StringBuffer buffer;
  Writer writer(buffer);
  writer.SetMaxDecimalPlaces(decimalPlaces);
  writer.StartObject();
  writer.Key("session");
  writer.Uint64(number_);
  writer.Key("since");
  writer.String(session_.start().c_str());
  writer.Key("target");
  target_.getDocument().ObjectEmpty() ? writer.Null() : target_.getDocument().Accept(writer);
  writer.Key("shots");
  writer.Uint64(scores.size());
  writer.Key("total");
  writer.Int(tally.total);
  writer.Key("tenths");
  writer.Int(tally.tenths);
  writer.Key("innerTens");
  writer.Int(tally.innerTens);
  writer.Key("series");
  writeSeries(writer, series + 1, std::span<const Score>(scores).subspan(series * perSeries));
  writer.Key("last");
  if (scores.empty()) {
    writer.Null();
  } else {
    writer.StartObject();
    writer.Key("number");
    writer.Uint64(scores.size());
    writer.Key("at");
    writer.String(lastTime_.c_str());
    writeHit(writer, scores.back());
    writer.EndObject();
  }
  writer.EndObject();
  return {buffer.GetString(), buffer.GetSize()};
}

}  // namespace BX::range
