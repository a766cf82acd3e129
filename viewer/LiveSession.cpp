#include "viewer/LiveSession.h"

#include <algorithm>

namespace BX::viewer {

namespace {

const char* nameOf(LiveSession::State state) {
  switch (state) {
    case LiveSession::State::Training:
      return "training";
    case LiveSession::State::Lost:
      return "lost";
    case LiveSession::State::Ended:
      return "ended";
    case LiveSession::State::BrokenOff:
      return "broken off";
  }
  return "";
}

}  // namespace

void LiveSession::begin(const rapidjson::Value& header) {
  session_ = scoring::Session(header);
  page_ = livePageOf(session_, {});
  setState(State::Training);
}

void LiveSession::add(const rapidjson::Value& record) {
  if (!session_.add(record)) return;
  records_ = session_.shots().size() + session_.samples().size();
  prepared_.clear();
}

void LiveSession::setState(State state) {
  state_ = state;
  ++stateNumber_;
  prepared_.clear();
}

std::shared_ptr<const std::string> LiveSession::next(Place& place) {
  if (stateNumber_ == 0) return nullptr;
  if (place.event > records_) place.event.reset();  // of another session
  if (place.event == records_ && place.state == stateNumber_) return nullptr;
  const auto found = std::ranges::find_if(prepared_, [&](const Prepared& event) {
    return event.place.event == place.event && event.place.state == place.state;
  });
  auto text = found != prepared_.end() ? found->text : std::make_shared<const std::string>(eventFor(place));
  if (found == prepared_.end()) prepared_.push_back({place, text});
  // The state comes with changes only.
  place = {records_, place.event ? stateNumber_ : 0};
  return text;
}

std::string LiveSession::eventFor(const Place& place) const {
  std::string text = "id: " + std::to_string(records_) + '\n';
  if (place.event) {
    text += "data: " + changesOf(session_, {}, *place.event, nameOf(state_));
  } else {
    text += "event: session\nretry: 1000\ndata: " + documentOf(session_, {});
  }
  return text + "\n\n";
}

}  // namespace BX::viewer
