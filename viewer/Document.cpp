#include "viewer/Document.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "platform/Utf8.h"
#include "scoring/FaceSvg.h"
#include "scoring/Figures.h"

namespace BX::viewer {

namespace {

using scoring::Score;
using scoring::Session;
using scoring::Shot;
using Writer = rapidjson::Writer<rapidjson::StringBuffer>;
using Number = std::optional<std::int64_t>;

constexpr double hundredths = 100;  // of a millimetre
constexpr double thousandths = 1000;

Number whole(std::optional<double> value, double factor) {
  return value ? Number(std::llround(*value * factor)) : std::nullopt;
}
template <class T>
Number whole(std::optional<T> value) {
  return value ? Number(static_cast<std::int64_t>(*value)) : std::nullopt;
}
Number whole(std::optional<scoring::Milliseconds> time) { return time ? Number(time->count()) : std::nullopt; }
Number whole(scoring::Micrometres length) { return std::llround(static_cast<double>(length) / 10); }

std::optional<double> xOf(const std::optional<scoring::Point>& point) {
  return point ? std::optional(point->x) : std::nullopt;
}
std::optional<double> yOf(const std::optional<scoring::Point>& point) {
  return point ? std::optional(point->y) : std::nullopt;
}

void put(Writer& writer, const Number& number) {
  if (number) {
    writer.Int64(*number);
  } else {
    writer.Null();
  }
}
void put(Writer& writer, const char* key, const Number& number) {
  writer.Key(key);
  put(writer, number);
}
void put(Writer& writer, const char* key, const std::string& text) {
  const std::string shown = platform::printable(text);
  writer.Key(key);
  writer.String(shown.data(), static_cast<rapidjson::SizeType>(shown.size()));
}

template <class Rows, class Function>
void putColumn(Writer& writer, const char* key, const Rows& rows, Function numberOf) {
  writer.Key(key);
  writer.StartArray();
  for (const auto& row : rows) put(writer, numberOf(row));
  writer.EndArray();
}

// What shots and samples have in common.
template <class Rows, class Function>
void putSampleColumns(Writer& writer, const Rows& rows, Function sampleOf) {
  const auto column = [&](const char* key, auto numberOf) {
    putColumn(writer, key, rows, [&](const auto& row) { return numberOf(sampleOf(row)); });
  };
  column("received", [](const scoring::Sample& sample) { return whole(sample.received); });
  column("x", [](const scoring::Sample& sample) { return whole(xOf(sample.position), hundredths); });
  column("y", [](const scoring::Sample& sample) { return whole(yOf(sample.position), hundredths); });
  column("tilt", [](const scoring::Sample& sample) { return whole(sample.tilt); });
}

struct ShotRow {
  const Shot& shot;
  std::optional<std::size_t> target;
  Score score;
  std::optional<scoring::Hold> hold;
  std::optional<int> pixel;  // class of a silhouette's
};

ShotRow rowOf(const Session& session, scoring::Gauge gauge, const Shot& shot) {
  ShotRow row{shot, session.targetOf(shot), {}, {}, {}};
  if (!row.target) return row;
  const auto& face = session.targets()[*row.target];
  row.score = scoring::scoreOf(session, *row.target, gauge, shot);
  row.hold = scoring::holdOf(session, *row.target, gauge, shot);
  if (face.isSilhouette && shot.position) row.pixel = scoring::pixelClassOf(face, *shot.position);
  return row;
}

// By index, as they begin before the shot. Nothing without times.
Number firstWithin(const Session& session, const Shot& shot, scoring::Milliseconds time) {
  if (!shot.received) return std::nullopt;
  return static_cast<std::int64_t>(shot.samplesBefore - session.aimBefore(shot, time).size());
}

Number afterOf(const Session& session, const Shot& shot) {
  return static_cast<std::int64_t>(shot.samplesBefore + session.followThroughOf(shot).size());
}

void putHoldColumns(Writer& writer, const std::vector<ShotRow>& rows) {
  const auto column = [&](const char* key, double factor, auto figureOf) {
    putColumn(writer, key, rows, [&](const ShotRow& row) {
      return row.hold ? whole(std::optional<double>(figureOf(*row.hold)), factor) : std::nullopt;
    });
  };
  column("inHighest", thousandths, [](const scoring::Hold& hold) { return hold.inHighestRing; });
  column("inNext", thousandths, [](const scoring::Hold& hold) { return hold.inNextRing; });
  column("steady", thousandths, [](const scoring::Hold& hold) { return hold.nearMeanAim; });
  column("aimX", hundredths, [](const scoring::Hold& hold) { return hold.meanAim.x; });
  column("aimY", hundredths, [](const scoring::Hold& hold) { return hold.meanAim.y; });
  column("aimOff", hundredths, [](const scoring::Hold& hold) { return hold.aiming; });
  column("trigger", hundredths, [](const scoring::Hold& hold) { return hold.trigger; });
  column("length", hundredths, [](const scoring::Hold& hold) { return hold.traceLength; });
}

// From `first` on.
void putShots(Writer& writer, const Session& session, scoring::Gauge gauge, std::size_t first) {
  std::vector<ShotRow> rows;
  for (const Shot& shot : std::span(session.shots()).subspan(first)) rows.push_back(rowOf(session, gauge, shot));
  const auto column = [&](const char* key, auto numberOf) { putColumn(writer, key, rows, numberOf); };
  const auto begin = [&](const char* key, scoring::Milliseconds time) {
    column(key, [&](const ShotRow& row) { return firstWithin(session, row.shot, time); });
  };
  writer.StartObject();
  putSampleColumns(writer, rows, [](const ShotRow& row) -> const scoring::Sample& { return row.shot; });
  column("target", [](const ShotRow& row) { return whole(row.target); });
  column("rotation", [](const ShotRow& row) { return whole(row.shot.rotation); });
  column("flags", [](const ShotRow& row) { return Number(row.shot.flags); });
  // A download's aiming times are those of the download.
  column("aiming",
         [](const ShotRow& row) { return row.shot.received ? whole(row.shot.aimingTime, thousandths) : std::nullopt; });
  column("clock", [](const ShotRow& row) {
    return row.shot.position ? Number(scoring::clockOf(*row.shot.position)) : std::nullopt;
  });
  column("tenths", [](const ShotRow& row) { return row.score.value ? Number(row.score.value->tenths) : std::nullopt; });
  column("inner", [](const ShotRow& row) { return Number(row.score.value && row.score.value->isInner); });
  column("pixel", [](const ShotRow& row) { return whole(row.pixel); });
  begin("from", scoring::shownBefore);
  begin("second", scoring::lastSecond);
  begin("moments", scoring::lastMoments);
  column("end", [](const ShotRow& row) { return Number(row.shot.samplesBefore); });
  column("after", [&](const ShotRow& row) { return afterOf(session, row.shot); });
  putHoldColumns(writer, rows);
  writer.EndObject();
}

void putFigures(Writer& writer, std::span<const Score> scores) {
  const auto tally = scoring::tallyOf(scores);
  const auto group = scoring::groupOf(scores);
  const auto length = [&](const char* key, auto lengthOf) {
    put(writer, key, group ? whole(std::optional<double>(lengthOf(*group)), hundredths) : std::nullopt);
  };
  writer.StartObject();
  put(writer, "hits", Number(group ? group->shots : 0));
  put(writer, "scored", Number(tally.scored));
  put(writer, "total", Number(tally.total));
  put(writer, "tenths", Number(tally.tenths));
  put(writer, "innerTens", Number(tally.innerTens));
  length("centreX", [](const scoring::Group& g) { return g.centre.x; });
  length("centreY", [](const scoring::Group& g) { return g.centre.y; });
  length("extremeSpread", [](const scoring::Group& g) { return g.extremeSpread; });
  length("meanRadius", [](const scoring::Group& g) { return g.meanRadius; });
  length("deviationX", [](const scoring::Group& g) { return g.deviationX; });
  length("deviationY", [](const scoring::Group& g) { return g.deviationY; });
  writer.Key("extremes");
  writer.StartArray();
  if (group) {
    for (const scoring::Point end : group->extremes) {
      put(writer, whole(end.x, hundredths));
      put(writer, whole(end.y, hundredths));
    }
  }
  writer.EndArray();
  writer.EndObject();
}

// All figures, and those of series from `first` on.
void putScores(Writer& writer, std::span<const Score> scores, std::size_t perSeries, std::size_t first) {
  writer.Key("figures");
  putFigures(writer, scores);
  writer.Key("series");
  writer.StartArray();
  for (std::size_t at = first * perSeries; at < scores.size(); at += perSeries) {
    putFigures(writer, scores.subspan(at, std::min(perSeries, scores.size() - at)));
  }
  writer.EndArray();
}

void putTarget(Writer& writer, const scoring::Face& face, scoring::Gauge gauge, std::span<const Score> scores,
               std::size_t perSeries) {
  const scoring::Micrometres edge = gauge == scoring::Gauge::Edge ? face.halfCalibre : 0;
  writer.StartObject();
  put(writer, "name", face.name);
  put(writer, "paper", whole(scoring::halfPaperOf(face)));
  put(writer, "calibre", whole(2 * face.halfCalibre));
  put(writer, "rule", scoring::ruleOf(face, gauge));
  writer.Key("rings");
  writer.StartArray();
  for (const auto& ring : face.rings) {
    writer.StartObject();
    put(writer, "value", Number(ring.value));
    put(writer, "reach", whole(ring.radius + edge));
    writer.EndObject();
  }
  writer.EndArray();
  putScores(writer, scores, perSeries, 0);
  writer.EndObject();
}

// From `first` on.
void putSamples(Writer& writer, const Session& session, std::size_t first) {
  writer.Key("samples");
  writer.StartObject();
  putSampleColumns(
      writer, std::span(session.samples()).subspan(first),
      [](const scoring::Sample& sample) -> const auto& { return sample; });
  writer.EndObject();
}

std::size_t perSeriesOf(const Session& session, const Showing& showing) {
  if (showing.perSeries > 0) return showing.perSeries;
  const int told = session.bulletsInSeries().value_or(0);
  return told > 0 ? static_cast<std::size_t>(told) : std::max<std::size_t>(1, session.shots().size());
}

// In JSON, "<" stands in texts only.
std::string withoutMarkup(const rapidjson::StringBuffer& json) {
  std::string text;
  text.reserve(json.GetSize());
  for (const char c : std::string_view(json.GetString(), json.GetSize())) {
    if (c == '<') {
      text += "\\u003c";
    } else {
      text += c;
    }
  }
  return text;
}

}  // namespace

std::string documentOf(const Session& session, const Showing& showing) {
  const std::size_t perSeries = perSeriesOf(session, showing);
  rapidjson::StringBuffer buffer;
  Writer writer(buffer);
  writer.StartObject();
  put(writer, "start", session.start());
  put(writer, "device", session.deviceName());
  put(writer, "perSeries", Number(perSeries));
  put(writer, "first", Number(showing.target));
  writer.Key("targets");
  writer.StartArray();
  for (std::size_t i = 0; i < session.targets().size(); ++i) {
    putTarget(writer, session.targets()[i], showing.gauge, scoring::scoresOf(session, i, showing.gauge), perSeries);
  }
  writer.EndArray();
  writer.Key("shots");
  putShots(writer, session, showing.gauge, 0);
  putSamples(writer, session, 0);
  writer.EndObject();
  return withoutMarkup(buffer);
}

std::string changesOf(const Session& session, const Showing& showing, std::size_t records, const std::string& state) {
  const auto& shots = session.shots();
  const auto isBefore = [&](const Shot& shot) { return shot.number - 1 + shot.samplesBefore < records; };
  const auto known =
      static_cast<std::size_t>(std::partition_point(shots.begin(), shots.end(), isBefore) - shots.begin());
  const std::size_t perSeries = perSeriesOf(session, showing);
  rapidjson::StringBuffer buffer;
  Writer writer(buffer);
  writer.StartObject();
  put(writer, "start", session.start());
  put(writer, "state", state);
  put(writer, "perSeries", Number(perSeries));
  put(writer, "after", known > 0 ? afterOf(session, shots[known - 1]) : std::nullopt);
  writer.Key("targets");
  writer.StartArray();
  for (std::size_t i = 0; known < shots.size() && i < session.targets().size(); ++i) {
    const auto scores = scoring::scoresOf(session, i, showing.gauge);
    const auto isKnown = [&](const Score& score) { return score.shot->number <= known; };
    const auto first = static_cast<std::size_t>(std::ranges::count_if(scores, isKnown)) / perSeries;
    writer.StartObject();
    put(writer, "firstSeries", Number(first));
    putScores(writer, scores, perSeries, first);
    writer.EndObject();
  }
  writer.EndArray();
  writer.Key("shots");
  putShots(writer, session, showing.gauge, known);
  putSamples(writer, session, records - known);
  writer.EndObject();
  return withoutMarkup(buffer);
}

}  // namespace BX::viewer
