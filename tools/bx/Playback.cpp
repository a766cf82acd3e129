#include "Playback.h"

#include <algorithm>
#include <utility>

#include "platform/codec/Control.h"

namespace BX::tool {

namespace {

using Kind = Milestone::Kind;
using link::TraceMark;

bool isSame(const Milestone& done, const Milestone& recorded) {
  return done.kind == recorded.kind && done.isLast == recorded.isLast && done.data == recorded.data;
}

const char* nameOf(Kind kind) {
  switch (kind) {
    case Kind::Opened:
      return "opens the port";
    case Kind::Session:
      return "begins a session";
    default:
      return "sends a payload";
  }
}

}  // namespace

class Playback::Line : public link::Transport {
 public:
  explicit Line(Playback& playback) : playback_(playback) {}
  ~Line() override { Line::close(); }
  void open(Events events) override {
    isOpen_ = true;
    playback_.open(std::move(events));
  }
  void write(std::vector<std::uint8_t> bytes) override { playback_.hear(bytes); }
  void close() override {
    if (std::exchange(isOpen_, false)) playback_.close();
  }

 private:
  Playback& playback_;
  bool isOpen_ = false;
};

std::unique_ptr<link::Transport> Playback::line() { return std::make_unique<Line>(*this); }

void Playback::open(link::Transport::Events events) {
  const Lock lock(mutex_);
  events_ = std::move(events);
  isOpen_ = true;
  start_ = std::chrono::steady_clock::now();
  host_ = {};
  decoder_.reset();
  for (std::size_t tag = 0; tag < tags_.size(); ++tag) tags_[tag] = static_cast<std::uint8_t>(tag);
  reach(Milestone{});
  player_ = std::thread([this] { play(); });
}

void Playback::close() {
  {
    const Lock lock(mutex_);
    isOpen_ = false;
    events_ = {};
  }
  changed_.notify_all();
  player_.join();
}

void Playback::hear(std::span<const std::uint8_t> bytes) {
  const Lock lock(mutex_);
  decoder_.feed(bytes, [this](std::span<const std::uint8_t> content) {
    if (const auto milestone = host_.observe(content)) reach(*milestone);
  });
  changed_.notify_all();
}

void Playback::goTo(std::size_t at) {
  Lock lock(mutex_);
  forced_ = std::max(forced_, at);
  changed_.notify_all();
  changed_.wait(lock, [&] { return position_ >= at || !isOpen_; });
}

void Playback::skipTo(std::size_t at) {
  const Lock lock(mutex_);
  position_ = at;
  reached_ = at;
}

std::size_t Playback::framesGiven() const {
  const Lock lock(mutex_);
  return given_;
}

std::vector<std::string> Playback::departures() const {
  const Lock lock(mutex_);
  return departures_;
}

void Playback::depart(const RecordedEntry& entry, const std::string& text) {
  const Lock lock(mutex_);
  note(entry, text);
}

void Playback::note(const RecordedEntry& entry, const std::string& text) {
  departures_.push_back("line " + std::to_string(entry.line) + ": " + text);
}

// The player's thread.
void Playback::play() {
  Lock lock(mutex_);
  while (isOpen_) {
    if (position_ == recording_.entries.size()) {
      changed_.wait(lock);
      continue;
    }
    const RecordedEntry& entry = recording_.entries[position_];
    const auto due = start_ + entry.entry.time;
    if (!mayPass(entry)) {
      changed_.wait(lock);
    } else if (isTimed_ && due > std::chrono::steady_clock::now()) {
      changed_.wait_until(lock, due);
    } else {
      pass(entry);
      ++position_;
      changed_.notify_all();
    }
  }
}

bool Playback::mayPass(const RecordedEntry& entry) const {
  return !entry.milestone || reached_ > position_ || forced_ > position_;
}

void Playback::pass(const RecordedEntry& entry) {
  if (entry.milestone && reached_ <= position_) {
    reached_ = position_ + 1;
    note(entry, std::string("the host ") + nameOf(entry.milestone->kind) + " here, and did not in the replay");
  }
  switch (entry.entry.mark) {
    case TraceMark::FromDevice:
      give(entry);
      break;
    case TraceMark::Dropped: {
      Bytes bytes = entry.entry.bytes;
      bytes.insert(bytes.begin(), link::frameDelimiter);
      bytes.push_back(link::frameDelimiter);
      ++given_;
      if (events_.received) events_.received(bytes);
      break;
    }
    case TraceMark::Event:
      if (entry.entry.event == link::traceEvent::hungUp && events_.hungUp) {
        events_.hungUp("the port was hung up");
        events_ = {};
      }
      break;
    case TraceMark::ToDevice:
      break;
  }
}

// The session's number is drawn anew by each host, and so may its requests' tags be.
void Playback::give(const RecordedEntry& entry) {
  Bytes content = entry.content;
  if (content.size() >= 2 && link::withoutPollFinal(content[0]) == link::UA) {
    content[1] = static_cast<std::uint8_t>(content[1] + sessionShift_);
  }
  if (content.size() >= 2 && link::isInformation(content[0])) {
    const std::uint8_t tag = tags_[content[1] & link::tagMask];
    content[1] = static_cast<std::uint8_t>((content[1] & static_cast<std::uint8_t>(~link::tagMask)) | tag);
  }
  ++given_;
  if (events_.received) events_.received(link::encodeFrame(content));
}

// Holds what the host has done against its next milestone in the trace.
void Playback::reach(const Milestone& done) {
  const auto& entries = recording_.entries;
  const auto next = std::find_if(entries.begin() + static_cast<std::ptrdiff_t>(reached_), entries.end(),
                                 [](const RecordedEntry& entry) { return entry.milestone.has_value(); });
  if (next == entries.end()) {
    if (!entries.empty())
      note(entries.back(), std::string("after it the host ") + nameOf(done.kind) + " in the replay");
    return;
  }
  const Milestone& recorded = *next->milestone;
  if (!isSame(done, recorded)) {
    note(*next, std::string("the host ") + nameOf(done.kind) + " in the replay, other than here");
  }
  if (done.kind != recorded.kind) return;
  reached_ = static_cast<std::size_t>(next - entries.begin()) + 1;
  if (done.kind == Kind::Session) sessionShift_ = static_cast<std::uint8_t>(done.session - recorded.session);
  if (done.kind == Kind::Part) tags_[recorded.tag] = done.tag;
}

}  // namespace BX::tool
