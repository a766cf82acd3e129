#include "scoring/Figures.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace BX::scoring {

namespace {

using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

class Figures {
 public:
  explicit Figures(Writer& writer) : writer_(writer) {}

  void all(const Face& face, Gauge gauge, std::span<const Score> scores) {
    writer_.StartObject();
    writer_.Key("rule");
    writer_.String(nameOf(gauge));
    writer_.Key("face");
    rings(face);
    writer_.Key("shots");
    writer_.StartArray();
    for (const Score& score : scores) shot(face, score);
    writer_.EndArray();
    const Tally tally = tallyOf(scores);
    integer("total", tally.total);
    number("tenths", tally.tenths / 10.0);
    integer("innerTens", tally.innerTens);
    writer_.Key("group");
    group(groupOf(scores));
    writer_.EndObject();
  }

 private:
  void rings(const Face& face) {
    writer_.StartObject();
    writer_.Key("rings");
    writer_.StartArray();
    for (const Ring& ring : face.rings) {
      writer_.StartObject();
      integer("value", ring.value);
      diameter("diameter", ring.radius);
      writer_.EndObject();
    }
    writer_.EndArray();
    diameter("innerTen", face.innerTen);
    diameter("black", face.black);
    writer_.EndObject();
  }

  void shot(const Face& face, const Score& score) {
    const auto& [shot, isAtTarget, value] = score;
    writer_.StartObject();
    integer("number", static_cast<int>(shot->number));
    number("x", shot->position ? std::optional(shot->position->x) : std::nullopt);
    number("y", shot->position ? std::optional(shot->position->y) : std::nullopt);
    integer("value", value ? std::optional(value->ring) : std::nullopt);
    number("tenths", value ? std::optional(value->tenths / 10.0) : std::nullopt);
    writer_.Key("inner");
    writer_.Bool(value && value->isInner);
    writer_.Key("scored");
    writer_.Bool(value.has_value());
    if (face.isSilhouette && isAtTarget && shot->position) integer("class", pixelClassOf(face, *shot->position));
    writer_.EndObject();
  }

  void group(const std::optional<Group>& group) {
    if (!group) {
      writer_.Null();
      return;
    }
    const auto length = [](std::optional<double> value) {
      return value ? std::optional(millimetresOf(micrometresOf(*value))) : value;
    };
    writer_.StartObject();
    number("centreX", length(group->centre.x));
    number("centreY", length(group->centre.y));
    number("extremeSpread", length(group->extremeSpread));
    number("meanRadius", length(group->meanRadius));
    number("deviationX", length(group->deviationX));
    number("deviationY", length(group->deviationY));
    writer_.EndObject();
  }

  void integer(const char* key, std::optional<int> value) {
    writer_.Key(key);
    value ? writer_.Int(*value) : writer_.Null();
  }
  void number(const char* key, std::optional<double> value) {
    writer_.Key(key);
    value ? writer_.Double(*value) : writer_.Null();
  }
  void diameter(const char* key, Micrometres radius) {
    number(key, radius > 0 ? std::optional(millimetresOf(2 * radius)) : std::nullopt);
  }

  Writer& writer_;
};

}  // namespace

const char* nameOf(Gauge gauge) { return gauge == Gauge::Edge ? "edge" : "centre"; }

std::string ruleOf(const Face& face, Gauge gauge) {
  if (!face.isScored()) return "Not scored: the target has no rings.";
  const std::string reached =
      gauge == Gauge::Edge ? "whose line the edge of the hole reaches" : "in which its centre lies";
  return "A shot has the highest ring " + reached + "; tenths divide each ring evenly and are cut.";
}

std::string figuresOf(const Face& face, Gauge gauge, std::span<const Score> scores) {
  rapidjson::StringBuffer text;
  Writer writer(text);
  Figures(writer).all(face, gauge, scores);
  return {text.GetString(), text.GetSize()};
}

}  // namespace BX::scoring
