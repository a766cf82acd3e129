#include "BoardFeed.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "BoardAssets.h"
#include "viewer/Page.h"

namespace BX::range {

namespace {

constexpr std::size_t mostLanes = 1000;
// A viewer's state: whoever comes back is told something, if only that we are here.
constexpr std::uint64_t greeted = 1;

std::string pageOf(const std::string& range) {
  return viewer::livePageIn({.title = range,
                             .body = asset::body,
                             .style = asset::style,
                             .styleDigest = asset::styleDigest,
                             .script = asset::script,
                             .scriptDigest = asset::scriptDigest});
}

// Above those of any board before, so that no viewer of that one takes it for its own.
std::uint64_t firstNumber() {
  using namespace std::chrono;
  return static_cast<std::uint64_t>(duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count());
}

rapidjson::Document parsedPayload(std::string_view payload) {
  constexpr auto flags =  // deep nesting costs no stack
      rapidjson::kParseIterativeFlag | rapidjson::kParseFullPrecisionFlag | rapidjson::kParseValidateEncodingFlag;
  rapidjson::Document document;
  document.Parse<flags>(payload.data(), payload.size());
  return document;
}

std::string member(const char* key, const std::string& text) {
  return '"' + std::string(key) + "\":" + quoted(text) + ',';
}

// Puts a comma between.
class List {
 public:
  void add(const std::string& item) { text_ += (text_.empty() ? "" : ",") + item; }
  std::string json() const { return '[' + text_ + ']'; }

 private:
  std::string text_;
};

}  // namespace

BoardFeed::BoardFeed(const std::string& range) : page_(pageOf(range)), number_(firstNumber()), wholeFrom_(number_) {}

bool BoardFeed::takeMachine(const std::string& machine, std::string_view payload) {
  const auto status = statusOf(parsedPayload(payload));
  if (!payload.empty() && !status) return false;
  machines_.erase(machine);
  if (status && machines_.size() < mostLanes) machines_[machine] = {*status, round_};
  changeAll();
  return true;
}

bool BoardFeed::takeStatus(const std::string& name, std::string_view payload) {
  const auto status = statusOf(parsedPayload(payload));
  if (!payload.empty() && !status) return false;
  return change(name, payload.empty(), [&](Lane& lane) {
    lane.status.reset();
    if (status) lane.status = {*status, round_};
  });
}

bool BoardFeed::takeScore(const std::string& name, std::string_view payload) {
  const auto score = laneScoreOf(parsedPayload(payload));
  if (!payload.empty() && !score) return false;
  return change(name, payload.empty(), [&](Lane& lane) {
    lane.score.reset();
    if (score) lane.score = {score->json, round_};
    lane.face = score ? faceOf(score->shapes) : 0;
  });
}

template <class Function>
bool BoardFeed::change(const std::string& name, bool isCleared, Function apply) {
  auto found = lanes_.find(name);
  if (found == lanes_.end()) {
    if (isCleared || lanes_.size() >= mostLanes) return isCleared;
    found = lanes_.try_emplace(name).first;
  }
  apply(found->second);
  found->second.changed = ++number_;
  removeWhatIsGone();
  return true;
}

void BoardFeed::changeAll() {
  wholeFrom_ = ++number_;
  prepared_.clear();
}

std::uint64_t BoardFeed::faceOf(const std::string& shapes) {
  const auto found = std::ranges::find(faces_, shapes, &Face::shapes);
  if (found != faces_.end()) return found->id;
  faces_.push_back({++number_, shapes});
  return number_;
}

void BoardFeed::removeWhatIsGone() {
  const auto isGone = [](const auto& entry) { return !entry.second.status && !entry.second.score; };
  if (std::erase_if(lanes_, isGone) > 0) wholeFrom_ = ++number_;
  std::erase_if(faces_, [this](const Face& face) {
    return std::ranges::none_of(lanes_, [&](const auto& entry) { return entry.second.face == face.id; });
  });
  prepared_.clear();
}

void BoardFeed::endRound() {
  bool isAnyGone = std::erase_if(machines_, [this](const auto& entry) { return entry.second.round < round_; }) > 0;
  const auto forgetOld = [&](auto& told) {
    if (!told || told->round == round_) return;
    told.reset();
    isAnyGone = true;
  };
  for (auto& [name, lane] : lanes_) {
    forgetOld(lane.status);
    forgetOld(lane.score);
  }
  removeWhatIsGone();
  if (isAnyGone) changeAll();
}

void BoardFeed::setNames(Names names) {
  names_ = std::move(names);
  changeAll();
}

void BoardFeed::setBroker(bool isConnected) {
  isConnected_ = isConnected;
  ++number_;
  prepared_.clear();
}

std::shared_ptr<const std::string> BoardFeed::next(viewer::Place& place) {
  if (place.event && (*place.event < wholeFrom_ || *place.event > number_)) place.event.reset();
  if (place.event == number_ && place.state == greeted) return nullptr;
  auto& text = prepared_[place.event.value_or(0)];
  if (!text) text = std::make_shared<const std::string>(eventSince(place.event));
  place = {number_, greeted};
  return text;
}

Status BoardFeed::stateOf(const std::string& name, const Lane& lane) const {
  const auto machine = machines_.find(std::string_view(name).substr(0, name.find('/')));
  const bool isLost = machine != machines_.end() && machine->second.what.state == "lost";
  if (isLost) return {"lost", machine->second.what.since, "its machine is not there"};
  return lane.status ? lane.status->what : Status();
}

std::string BoardFeed::textOf(const std::string& name, const Lane& lane) const {
  const Status status = stateOf(name, lane);
  const auto shooter = names_.find(name);
  return '{' + member("lane", name) + member("name", shooter == names_.end() ? "" : shooter->second) +
         member("state", status.state) + member("since", status.since) + member("reason", status.reason) +
         "\"face\":" + std::to_string(lane.face) + ",\"score\":" + (lane.score ? lane.score->what : "null") + '}';
}

std::string BoardFeed::eventSince(std::optional<std::uint64_t> event) const {
  List lanes;
  List faces;
  for (const auto& [name, lane] : lanes_) {
    if (lane.changed > event.value_or(0)) lanes.add(textOf(name, lane));
  }
  for (const auto& [id, shapes] : faces_) {
    if (id > event.value_or(0)) {
      faces.add("{\"id\":" + std::to_string(id) + ",\"shapes\":" + quoted(shapes) + '}');
    }
  }
  return "id: " + std::to_string(number_) + (event ? "\n" : "\nevent: board\nretry: 1000\n") +
         "data: {\"broker\":" + (isConnected_ ? "true" : "false") + ",\"lanes\":" + lanes.json() +
         ",\"faces\":" + faces.json() + "}\n\n";
}

}  // namespace BX::range
