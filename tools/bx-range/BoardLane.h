// What the messages about a lane say, made ready to be shown. Pure: documents in, text out.
#pragma once

#include <rapidjson/document.h>

#include <optional>
#include <string>

namespace BX::range {

// Of a machine or a lane. The texts are as they were sent.
struct Status {
  std::string state, since, reason;
};

// Nothing when no state is told.
std::optional<Status> statusOf(const rapidjson::Value& message);

struct LaneScore {
  std::string json;    // an object for the page: what is told, and the document of a page of the series in hand
  std::string shapes;  // the face, as SVG
};

// Nothing when it is no score. What is missing or makes no sense in it is null for the page.
std::optional<LaneScore> laneScoreOf(const rapidjson::Value& message);

// As JSON, with nothing in it that steers a terminal or the direction of text.
std::string quoted(const std::string& text);

}  // namespace BX::range
