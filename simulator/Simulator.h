// A simulated target device, running on a thread of its own at the far end of a line.
//
// It models the device, not the library that talks to it: it stores what the wire carried and answers by the wire's
// layouts.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "bx/BXSerialLink.h"
#include "simulator/FaultRule.h"

namespace BX::sim {

using Bytes = std::vector<std::uint8_t>;

// A scripted answer: given for every request that begins with `request`, in place of the built-in one; the longest
// match counts. An empty reply refuses the request.
struct ScriptedReply {
  Bytes request;
  Bytes reply;
};

struct StoredRecord {
  std::uint8_t block = 0;
  std::uint8_t page = 0;
  Bytes payload;
};

struct Options {
  // Payloads to stream in training, from the first at each start, then silence; without: the built-in shooter.
  std::optional<std::vector<Bytes>> stream;
  std::vector<StoredRecord> stored;
  std::vector<ScriptedReply> script;
  std::uint64_t seed = 1;
  // Payloads a second in training, the shooter's or the file's. The shooter's records are 20 ms apart in its own time,
  // whatever the rate: another rate plays the same session faster or slower.
  double rate = 50;                      // payloads a second in training
  unsigned baud = 0;                     // pace bytes as such a line would; 0: as fast as they go
  std::chrono::milliseconds latency{0};  // what the device sends reaches the host this much later
  // Time-outs of the device's end of the link. It keeps its session, its stream and the records of the missed time
  // until the host was silent for `silence` while something was unacknowledged.
  std::chrono::milliseconds resend{100};
  std::chrono::milliseconds silence{60'000};
  // What goes wrong on the line. A rule strikes once; the first one in the list, when two strike the same frame.
  std::vector<FaultRule> faults;
  std::optional<Noise> noise;
  // Called on the simulator's thread when a rule has hung the line up.
  std::function<void()> hungUp;
  // Each payload once, sum byte included, when it is delivered: "> HEX" from the host, "< HEX" to the host. Called on
  // the simulator's thread.
  std::function<void(const std::string& line)> transcript;
  // Whether Simulator::transcript() holds the lines as well; without, a device may run for weeks.
  bool keepTranscript = true;
};

// Readers of the tool's file formats; they throw std::runtime_error with "FILE:LINE: reason".
std::vector<Bytes> readStreamFile(const std::string& path);
std::vector<StoredRecord> readStoredFile(const std::string& path);
std::vector<ScriptedReply> readScriptFile(const std::string& path);

class Simulator {
 public:
  // Opens `line` and starts; throws what the line's open throws. `hungUp` of this line means that the host has closed
  // its end: the device rests, and the line stays open for the next host.
  Simulator(Options options, std::unique_ptr<link::Transport> line);
  // Sends what is under way, for up to a second, then closes the line: the host sees a hang-up.
  ~Simulator();
  Simulator(const Simulator&) = delete;
  Simulator& operator=(const Simulator&) = delete;

  // Any thread. Payloads that were delivered so far, as the transcript has them.
  std::vector<std::string> transcript() const;
  // Any thread. Blocks until the transcript holds at least `count` lines that begin with `prefix`, or `timeout` passes.
  bool awaitTranscript(const std::string& prefix, std::size_t count,
                       std::chrono::milliseconds timeout = std::chrono::seconds(10)) const;
  // Any thread. Cuts the line at once.
  void hangUp();

  // Any thread. Replaces the rules of what goes wrong; counting begins anew.
  void setFaults(const std::vector<FaultRule>& faults);
  // Any thread. How many rules have not struck yet.
  std::size_t faultsWaiting() const;
  // Any thread. Frames of this kind since setFaults; 0 when it was never called.
  std::size_t frameCount(Direction direction, FrameKind kind) const;

 private:
  class Core;
  std::unique_ptr<Core> core_;
};

// The device's end of a new pseudo-terminal, in raw mode. Posix only. `hungUp` means that the host has closed its end;
// it may come once for each host, and the line stays open for the next one.
class PtyLine : public link::Transport {
 public:
  PtyLine();  // throws std::system_error
  ~PtyLine() override;
  // What the host opens, such as /dev/pts/4.
  const std::string& name() const;
  void open(Events events) override;
  void write(std::vector<std::uint8_t> bytes) override;
  void close() override;

 private:
  class Port;
  std::unique_ptr<Port> port_;
};

}  // namespace BX::sim
