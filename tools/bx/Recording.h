// What a trace file says of one port: who sent what, and after what.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/codec/Trace.h"

namespace BX::tool {

using link::Bytes;

// What the host did that the device could see: the steps by which a trace and its replay are held against each other.
// Repeated frames and acknowledgements are none, since they come by time.
struct Milestone {
  enum class Kind { Opened, Session, Part };
  Kind kind = Kind::Opened;
  std::uint8_t session = 0;  // of a Session
  std::uint8_t tag = 0;      // of a Part, of a request's payload
  bool isLast = true;        // part of its payload
  Bytes data;
};

// Tells the milestones among the frames of a host, from the opening of its port on.
class HostObserver {
 public:
  std::optional<Milestone> observe(std::span<const std::uint8_t> content);

 private:
  std::optional<std::uint8_t> session_;
  std::uint8_t next_ = 0;
};

struct RecordedEntry {
  std::size_t line = 0;
  link::TraceEntry entry;
  Bytes content;                       // of a frame
  std::optional<Milestone> milestone;  // what the host did here
};

// One thing for the replaying host to do.
struct Step {
  enum class Kind { Open, Request, Close };
  Kind kind = Kind::Open;
  std::size_t at = 0;  // the entry with which it began
  Bytes request;
  std::optional<Bytes> answer;    // the last payload of it, when it came before the next step
  std::size_t recordsBefore = 0;  // streamed payloads since the port was opened, the end of a stream not counted
};

struct Recording {
  std::string port;
  std::vector<RecordedEntry> entries;
  std::vector<Step> steps;
  std::size_t records = 0;  // streamed since the port was last opened
  std::string missing;      // what of its end is missing; empty when it is whole
};

// Reads the trace of `port`, or of the only port in the file when it is empty. A line that is cut is left out. Throws
// Failure.
Recording readRecording(const std::string& path, const std::string& port);

}  // namespace BX::tool
