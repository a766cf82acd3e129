#include "Recording.h"

#include <algorithm>
#include <cerrno>
#include <set>
#include <system_error>
#include <utility>

#include "Console.h"
#include "InputFile.h"
#include "platform/codec/Control.h"
#include "platform/codec/Payload.h"
#include "platform/codec/Station.h"

namespace BX::tool {

namespace {

using link::TraceMark;

bool isEvent(const link::TraceEntry& entry, std::string_view event) {
  return entry.mark == TraceMark::Event && entry.event == event;
}

// The content of a traced frame; nothing when it is none.
std::optional<Bytes> contentOf(const Bytes& frame) {
  std::optional<Bytes> content;
  link::FrameDecoder decoder;
  decoder.feed(frame, [&](std::span<const std::uint8_t> found) { content.emplace(found.begin(), found.end()); });
  return content;
}

// Follows the information frames of a device as a host accepts them: in sequence, each once.
class DeviceObserver {
 public:
  void begin(std::uint8_t session) {
    *this = {};
    session_ = session;
  }
  // The payload that this frame completes.
  std::optional<link::Message> observe(std::span<const std::uint8_t> content) {
    if (content.size() < 2) return std::nullopt;
    if (link::withoutPollFinal(content[0]) == link::UA && content[1] == session_) isUp_ = true;
    const bool accepted = isUp_ && link::isInformation(content[0]) && link::sendNumber(content[0]) == next_;
    if (!accepted) return std::nullopt;
    next_ = link::numberAfter(next_);
    const auto data = content.subspan(2);
    payload_.insert(payload_.end(), data.begin(), data.end());
    if ((content[1] & link::partsFollow) != 0) return std::nullopt;
    return link::Message{static_cast<std::uint8_t>(content[1] & link::tagMask),
                         (content[1] & link::payloadsFollow) != 0, std::exchange(payload_, {})};
  }

 private:
  std::optional<std::uint8_t> session_;
  bool isUp_ = false;
  std::uint8_t next_ = 0;
  Bytes payload_;
};

// Makes steps of a port's entries.
class Analysis {
 public:
  explicit Analysis(Recording& recording) : recording_(recording) {}

  void add(RecordedEntry entry) {
    const std::size_t at = recording_.entries.size();
    switch (entry.entry.mark) {
      case TraceMark::Event:
        addEvent(entry, at);
        break;
      case TraceMark::ToDevice:
        if ((entry.milestone = host_.observe(entry.content))) addMilestone(*entry.milestone, at);
        break;
      case TraceMark::FromDevice:
        if (auto message = device_.observe(entry.content)) addMessage(std::move(*message));
        break;
      case TraceMark::Dropped:
        break;
    }
    recording_.entries.push_back(std::move(entry));
  }

  // A session that carried no request is no step to hold a host to: the request that asked for it was given up.
  void endSession() {
    if (sessionAt_) recording_.entries[*sessionAt_].milestone.reset();
    sessionAt_.reset();
    request_.clear();
  }

 private:
  void addEvent(RecordedEntry& entry, std::size_t at) {
    endSession();
    if (isEvent(entry.entry, link::traceEvent::opened)) {
      host_ = {};
      device_ = {};
      recording_.records = 0;
      entry.milestone = Milestone{};
      addStep(Step::Kind::Open, at);
    } else {
      addStep(Step::Kind::Close, at);
    }
  }

  void addMilestone(const Milestone& milestone, std::size_t at) {
    if (milestone.kind == Milestone::Kind::Session) return addSession(milestone.session, at);
    if (request_.empty()) requestAt_ = sessionAt_.value_or(at);
    sessionAt_.reset();
    request_.insert(request_.end(), milestone.data.begin(), milestone.data.end());
    if (!milestone.isLast || request_.empty()) return;
    addStep(Step::Kind::Request, requestAt_);
    recording_.steps.back().request = std::exchange(request_, {});
    tag_ = milestone.tag;
  }

  // The first request after it began it.
  void addSession(std::uint8_t session, std::size_t at) {
    endSession();
    sessionAt_ = at;
    device_.begin(session);
  }

  void addMessage(link::Message message) {
    if (message.tag == link::streamTag) {
      const bool endsStream = !message.payload.empty() && message.payload[0] == wire::replyMark;
      if (!endsStream) ++recording_.records;
      return;
    }
    Step& step = recording_.steps.back();
    if (step.kind == Step::Kind::Request && message.tag == tag_ && !message.moreFollows) {
      step.answer = std::move(message.payload);
    }
  }

  void addStep(Step::Kind kind, std::size_t at) {
    Step step;
    step.kind = kind;
    step.at = at;
    step.recordsBefore = recording_.records;
    recording_.steps.push_back(std::move(step));
  }

  Recording& recording_;
  HostObserver host_;
  DeviceObserver device_;
  Bytes request_;
  std::size_t requestAt_ = 0;
  std::optional<std::size_t> sessionAt_;  // where the session began in which nothing was sent yet
  std::uint8_t tag_ = 0;
};

RecordedEntry parseLine(const std::string& path, std::size_t line, const std::string& text) {
  const std::string where = path + ":" + std::to_string(line) + ": ";
  auto entry = link::parseTraceEntry(text);
  if (!entry) throw Failure(wrongUsage, where + "no line of a trace");
  RecordedEntry recorded{.line = line, .entry = std::move(*entry), .content = {}, .milestone = {}};
  if (recorded.entry.mark == TraceMark::ToDevice || recorded.entry.mark == TraceMark::FromDevice) {
    auto content = contentOf(recorded.entry.bytes);
    if (!content) throw Failure(wrongUsage, where + "no sound frame");
    recorded.content = std::move(*content);
  }
  return recorded;
}

// Sets `missing` when the last line is cut. A trace may be long, but not a line of it: a frame and the name of a port.
std::vector<RecordedEntry> readEntries(const std::string& path, std::string& missing) {
  constexpr std::size_t longestLine = 65536;
  std::ifstream file = openInput(path);
  std::vector<char> buffer(longestLine);
  std::vector<RecordedEntry> entries;
  std::size_t line = 0;
  while (file.getline(buffer.data(), static_cast<std::streamsize>(buffer.size())) || file.gcount() > 0) {
    ++line;
    if (file.eof()) {
      missing = "line " + std::to_string(line) + " is cut";
      break;
    }
    if (!file) throw Failure(wrongUsage, path + ":" + std::to_string(line) + ": longer than any line of a trace");
    entries.push_back(parseLine(path, line, {buffer.data(), static_cast<std::size_t>(file.gcount()) - 1}));
  }
  if (errno != 0) throw Failure(wrongUsage, path + ": read: " + std::generic_category().message(errno));
  return entries;
}

std::string choosePort(const std::string& path, const std::vector<RecordedEntry>& entries, const std::string& wanted) {
  std::set<std::string> ports;
  for (const auto& entry : entries) ports.insert(entry.entry.port);
  if (ports.empty()) throw Failure(wrongUsage, path + ": nothing was traced");
  if (wanted.empty() && ports.size() == 1) return *ports.begin();
  if (ports.contains(wanted)) return wanted;
  std::string names;
  for (const auto& port : ports) names += " " + port;
  throw Failure(wrongUsage, path + ": choose a port by --port, one of:" + names);
}

}  // namespace

std::optional<Milestone> HostObserver::observe(std::span<const std::uint8_t> content) {
  Milestone milestone;
  if (link::withoutPollFinal(content[0]) == link::SABM && content.size() >= 2) {
    if (session_ == content[1]) return std::nullopt;
    session_ = content[1];
    next_ = 0;
    milestone.kind = Milestone::Kind::Session;
    milestone.session = content[1];
    return milestone;
  }
  // No more than a window is ever under way: the number after the last one is never a repetition.
  if (!link::isInformation(content[0]) || content.size() < 2 || link::sendNumber(content[0]) != next_) {
    return std::nullopt;
  }
  next_ = link::numberAfter(next_);
  milestone.kind = Milestone::Kind::Part;
  milestone.tag = content[1] & link::tagMask;
  milestone.isLast = (content[1] & link::partsFollow) == 0;
  milestone.data.assign(content.begin() + 2, content.end());
  return milestone;
}

Recording readRecording(const std::string& path, const std::string& port) {
  Recording recording;
  auto entries = readEntries(path, recording.missing);
  recording.port = choosePort(path, entries, port);
  Analysis analysis(recording);
  for (auto& entry : entries) {
    if (entry.entry.port != recording.port) continue;
    if (recording.entries.empty() && !isEvent(entry.entry, link::traceEvent::opened)) {
      throw Failure(wrongUsage, path + ":" + std::to_string(entry.line) +
                                    ": a trace begins when its port is opened; this one lacks its beginning");
    }
    analysis.add(std::move(entry));
  }
  analysis.endSession();
  const auto& last = recording.entries.back().entry;
  const bool hasEnd = last.mark == TraceMark::Event && last.event != link::traceEvent::opened;
  if (!hasEnd && recording.missing.empty()) recording.missing = "the end of " + recording.port + " is missing";
  return recording;
}

}  // namespace BX::tool
