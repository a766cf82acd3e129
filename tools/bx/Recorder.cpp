#include "Recorder.h"

#include <utility>

#include "bx/DocumentKeys.h"
#include "morva/KeyedAccess.h"

namespace BX::tool {

namespace {

// Of a target or a shot: 255 when it names none.
std::int32_t targetNumber(const Json& document, const char* key) {
  const auto& root = document.getDocument();
  return root.IsObject() && root.HasMember(key) ? MORVA::getInteger(document, key) : noTarget;
}

// What waits to be shown on a terminal that stands still; what comes then is not shown.
constexpr std::size_t mostShown = 1000;

bool showsTable(const Console& console, const Output& output) {
  return console.drawsProgress() && (!output.path.empty() || !console.isOutputTerminal());
}

}  // namespace

Recorder::Recorder(Console& console, std::string port, const Output& output, const std::string& live)
    : console_(console),
      port_(std::move(port)),
      records_(console, output),
      table_(showsTable(console, output) ? std::optional<LiveTable>(console) : std::nullopt),
      ringTarget_(noTarget),
      silhouetteTarget_(noTarget) {
  if (live.empty()) return;
  live_.emplace(live);
  note("Live page: " + live_->url());
}

void Recorder::begin(Json header, const std::optional<Json>& target) {
  auto& root = header.getDocument();
  if (target) {
    ringTarget_ = targetNumber(*target, key::ring::ringTargetNumber);
    silhouetteTarget_ = targetNumber(*target, key::silhouette::silhouetteTargetNumber);
    MORVA::setDocument(header, "target", *target);
  } else {
    root.AddMember("target", rapidjson::Value(rapidjson::kNullType), root.GetAllocator());
  }
  records_.begin(header);
  if (table_) table_->begin(header);
  if (live_) live_->begin(header);
  start_ = Clock::now();
  showsTime_ = true;
}

void Recorder::add(Json record) {
  latest_ = now();
  const auto shared = std::make_shared<const Json>(std::move(record));
  if (live_) live_->add(shared, latest_);
  writer_.add([this, shared, received = latest_] { return write(*shared, received); });
}

void Recorder::beginGap() {
  isLost_ = true;
  showLive(LiveView::State::Lost);
}

void Recorder::endGap() {
  const auto to = now();
  isLost_ = false;
  if (live_) live_->addGap(latest_, to);
  showLive(LiveView::State::Training);
  writer_.add([this, from = latest_, to] {
    records_.addGap(from, to);
    return true;
  });
}

void Recorder::showLive(LiveView::State state) {
  if (live_) live_->setState(state);
}

void Recorder::warn(const std::string& text) {
  show([this, text] { console_.warning(text); });
}

void Recorder::note(const std::string& text) {
  show([this, text] { console_.note(text); });
}

void Recorder::showConnecting() {
  if (!table_) return;
  showsTime_ = false;
  show([this] { console_.progress("Connecting..."); });
}

void Recorder::finish() {
  showLive(isLost_ ? LiveView::State::BrokenOff : LiveView::State::Ended);
  if (live_) live_->finish();
  writer_.finish();
  screen_.finish();
}

void Recorder::show(std::function<void()> task) {
  if (screen_.waiting() >= mostShown) return;
  screen_.add([task = std::move(task)] {
    task();
    return true;
  });
}

// ---- On the writer's thread

bool Recorder::write(const Json& record, Milliseconds received) {
  if (!records_.add(record, received)) return false;
  if (table_ || isShot(record)) show([this, record, received] { showRecord(record, received); });
  return true;
}

// ---- On the screen's thread

void Recorder::showRecord(const Json& record, Milliseconds received) {
  showsTime_ = true;
  if (table_) table_->show(record, received);
  if (isShot(record)) look(record);
}

void Recorder::look(const Json& shot) {
  if (isWarned_) return;
  const std::int32_t ring = targetNumber(shot, key::ring::ringTargetNumber);
  const std::int32_t silhouette = targetNumber(shot, key::silhouette::silhouetteTargetNumber);
  const std::string begun =
      port_ + ": shot " + std::to_string(MORVA::getInteger(shot, key::record::shotNumber)) + " names ";
  isWarned_ = true;
  if (ring != noTarget && ring != ringTarget_) {
    const std::string number = std::to_string(ring);
    console_.warning(begun + "ring target " + number +
                     ", which was not given: positions and distances are wrong from the " +
                     "next shot on; end this, and begin with --target FILE or --target-number " + number);
  } else if (silhouette != noTarget && silhouette != silhouetteTarget_) {
    console_.warning(begun + "silhouette target " + std::to_string(silhouette) +
                     ", which was not given: the session does not tell it; --target FILE does");
  } else {
    isWarned_ = false;
  }
}

void Recorder::showTime() {
  if (showsTime_ && table_) table_->showStatus(now());
}

}  // namespace BX::tool
