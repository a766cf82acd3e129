// The trace file: what passed on the ports of this process, one text line each.
//
//   MICROSECONDS MARK CONTENT PORT
//
// The time counts from the opening of the port. CONTENT is bytes in hexadecimal, or the word of an event.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "platform/Mutex.h"
#include "platform/OutputFile.h"
#include "platform/codec/Frame.h"

namespace BX::link {

enum class TraceMark : char {
  ToDevice = '>',    // a frame from the host, delimiters included
  FromDevice = '<',  // a sound frame from the device, delimiters included
  Dropped = '!',     // bytes from the device that are no sound frame, without delimiters
  Event = '*',       // one of traceEvent
};

namespace traceEvent {
inline constexpr std::string_view opened = "opened";
inline constexpr std::string_view closed = "closed";   // by the host
inline constexpr std::string_view hungUp = "hung-up";  // by the far end
}  // namespace traceEvent

struct TraceEntry {
  std::chrono::microseconds time{0};
  TraceMark mark = TraceMark::Event;
  Bytes bytes;        // of a frame
  std::string event;  // of an event
  std::string port;
};

// The line of an entry, without its end.
std::string formatTraceEntry(const TraceEntry& entry);
// Nothing when `line` is no entry.
std::optional<TraceEntry> parseTraceEntry(std::string_view line);

// A trace file that any number of ports write to, each from its own thread.
class TraceFile {
 public:
  // Only looks whether the file can be written: it is made with the first entry. Throws platform::OutputError. A file
  // that is not empty is replaced when `overwrite` says so.
  TraceFile(const std::string& path, bool overwrite) : file_(path, overwrite) {}
  // Written out at once, so that a host which crashes leaves all of it. After a failure nothing is written any more.
  void write(const TraceEntry& entry);
  // Which step has failed, why, and what stands in the file; empty when all is well.
  std::string error() const;

 private:
  mutable platform::Mutex mutex_;
  platform::OutputFile file_ GUARDED_BY(mutex_);
  std::size_t lines_ GUARDED_BY(mutex_) = 0;
  std::string error_ GUARDED_BY(mutex_);
};

// One opening of one port, as its engine reports it.
class Trace {
 public:
  Trace(std::shared_ptr<TraceFile> file, std::string port);
  void event(std::string_view event);
  void toDevice(std::span<const std::uint8_t> frame);
  void fromDevice(std::span<const std::uint8_t> content);
  void dropped(std::span<const std::uint8_t> bytes);

 private:
  using Clock = std::chrono::steady_clock;
  void write(TraceMark mark, Bytes bytes, std::string_view event = {});

  std::shared_ptr<TraceFile> file_;
  std::string port_;
  Clock::time_point start_ = Clock::now();
};

}  // namespace BX::link
