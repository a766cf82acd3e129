#include "platform/codec/Trace.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "platform/Hex.h"

namespace BX::link {

namespace {

bool readNumber(std::string_view text, std::int64_t& number) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size();
}

// None when `hex` is no bytes.
Bytes bytesOf(std::string_view hex) {
  try {
    return platform::bytesOf(hex);
  } catch (const std::runtime_error&) {
    return {};
  }
}

// Cuts the text up to the next blank off `line`.
std::string_view takeWord(std::string_view& line) {
  const std::string_view word = line.substr(0, line.find(' '));
  line.remove_prefix(std::min(word.size() + 1, line.size()));
  return word;
}

bool isMark(std::string_view word) {
  constexpr std::array marks{TraceMark::ToDevice, TraceMark::FromDevice, TraceMark::Dropped, TraceMark::Event};
  return std::any_of(marks.begin(), marks.end(),
                     [word](TraceMark mark) { return word.size() == 1 && word[0] == static_cast<char>(mark); });
}

}  // namespace

std::string formatTraceEntry(const TraceEntry& entry) {
  const bool isEvent = entry.mark == TraceMark::Event;
  return std::to_string(entry.time.count()) + ' ' + static_cast<char>(entry.mark) + ' ' +
         (isEvent ? entry.event : platform::hexOf(entry.bytes)) + ' ' + entry.port;
}

std::optional<TraceEntry> parseTraceEntry(std::string_view line) {
  TraceEntry entry;
  std::int64_t time = 0;
  if (!readNumber(takeWord(line), time)) return std::nullopt;
  entry.time = std::chrono::microseconds(time);
  const std::string_view mark = takeWord(line);
  if (!isMark(mark)) return std::nullopt;
  entry.mark = static_cast<TraceMark>(mark[0]);
  const std::string_view content = takeWord(line);
  if (entry.mark == TraceMark::Event) {
    entry.event = content;
  } else {
    entry.bytes = bytesOf(content);
    if (entry.bytes.empty()) return std::nullopt;
  }
  entry.port = line;
  return entry;
}

void TraceFile::write(const TraceEntry& entry) {
  const std::string line = formatTraceEntry(entry);
  const platform::MutexLock lock(mutex_);
  if (!error_.empty()) return;
  try {
    if (!file_.isBegun()) file_.begin();
    file_.add(line);
    ++lines_;
  } catch (const platform::OutputError& failure) {
    error_ = std::string(failure.what()).substr(file_.path().size() + 2) + ", after " + std::to_string(lines_) +
             (lines_ == 1 ? " line" : " lines");
  }
}

std::string TraceFile::error() const {
  const platform::MutexLock lock(mutex_);
  return error_;
}

Trace::Trace(std::shared_ptr<TraceFile> file, std::string port) : file_(std::move(file)), port_(std::move(port)) {}

void Trace::event(std::string_view event) { write(TraceMark::Event, {}, event); }

void Trace::toDevice(std::span<const std::uint8_t> frame) {
  write(TraceMark::ToDevice, Bytes(frame.begin(), frame.end()));
}

// Every content has one encoding only, so this is what arrived.
void Trace::fromDevice(std::span<const std::uint8_t> content) { write(TraceMark::FromDevice, encodeFrame(content)); }

void Trace::dropped(std::span<const std::uint8_t> bytes) {
  write(TraceMark::Dropped, Bytes(bytes.begin(), bytes.end()));
}

void Trace::write(TraceMark mark, Bytes bytes, std::string_view event) {
  const auto time = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start_);
  file_->write({time, mark, std::move(bytes), std::string(event), port_});
}

}  // namespace BX::link
