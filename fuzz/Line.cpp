// Both ends of the link procedure on a line whose faults are the input: each payload arrives once and in order, or the
// session ends, and a line that has become sound again works, whatever frames a stranger has put there.
#include "fuzz/Fuzz.h"
#include "tests/support/TwoStations.h"

namespace {

using namespace BX;
using namespace std::chrono_literals;
using test::Line;
using test::require;

constexpr link::Timing host{.baud = 0, .keepAlive = 500ms};
constexpr link::Timing device{.baud = 0, .longestWait = 300ms, .silence = 2s};

class Harness {
 public:
  explicit Harness(fuzz::Input& input) : input_(input) {}

  void run() {
    while (!input_.empty()) {
      act(input_.byte());
      line_.run(1ms);
    }
    recovers();
  }

 private:
  void act(std::uint8_t what) {
    const std::size_t count = what % 16U;
    const std::size_t size = 4 + (count < 12 ? count : count * 60);
    const unsigned kind = what / 16U;
    if (kind < 2) line_.host.send(1, false, size, line_.now);  // a request, and a part or the end of an answer
    if (kind == 2 || kind == 3) line_.device.send(1, kind == 3, size, line_.now);
    for (std::size_t i = 0; i < count && kind < 7; ++i) {
      if (kind == 4 || kind == 5) line_.device.send(link::streamTag, false, 4 + i, line_.now);
      if (kind == 6) line_.host.send(2, false, 4 + i, line_.now);
    }
    if (kind == 7) breakOff(count);
    if (kind > 7) line_.run(std::chrono::milliseconds(count * 40));
  }

  void breakOff(std::size_t how) {
    if (how == 3) line_.hostSleeps = !line_.hostSleeps;
    if (how == 4 || how == 5) deceive(how == 4 ? line_.host : line_.device);
    if (how == 0) line_.device.station.restart();
    if (how == 1) line_.host.station.connect(line_.now);
    if (how == 2) line_.host.station.disconnect(line_.now);
    if (how == 6) line_.device.station.dropUnsent(link::streamTag);
    if (how == 0 || how == 6) line_.device.forget();
    if (how == 1 || how == 2) line_.host.forget();
  }

  // A sound frame that its peer has never sent, of any content.
  void deceive(test::End& end) {
    line_.host.deceived = line_.device.deceived = true;
    end.station.receive(input_.block(), line_.now);
  }

  // A byte of the input; without one, all is well.
  Line::Fate fateOf(link::Bytes& frame) {
    const std::uint8_t fate = input_.byte();
    const std::size_t at = fate / 8U % frame.size();
    if (fate % 8 == 3) frame[at] = static_cast<std::uint8_t>(frame[at] ^ 1U << fate % 7U);
    if (fate % 8 == 4) frame.resize(at);
    if (fate % 8 == 6) frame.insert(frame.begin(), at, fate);  // noise before it
    return {.copies = fate % 8 == 1 ? 0 : 1 + (fate % 8 == 2 ? 1 : 0),
            .delay = std::chrono::milliseconds(fate % 8 == 5 ? fate * 5 : 0)};
  }

  void recovers() {
    line_.hostSleeps = false;
    line_.run(3s);
    if (line_.host.deceived) {  // the next session is a sound one
      line_.host.station.connect(line_.now);
      line_.run(3s);
      line_.host.deceived = line_.device.deceived = false;
      line_.host.forget();
      line_.device.forget();
    }
    line_.host.send(3, false, 8, line_.now);
    line_.run(3s);
    if (line_.host.station.state() == link::Station::State::Down) {  // the fault was found out by this very request
      line_.host.send(4, false, 8, line_.now);
      line_.run(3s);
    }
    require(line_.host.station.state() == link::Station::State::Up, "a sound line has a session");
    require(line_.device.delivered == line_.host.sent, "a sound line carries requests");
    line_.device.send(3, false, 500, line_.now);
    line_.run(3s);
    require(line_.host.delivered == line_.device.sent, "a sound line carries answers");
    require(line_.host.station.backlog() + line_.device.station.backlog() == 0, "everything is acknowledged");
  }

  fuzz::Input& input_;
  Line line_{[this](auto, auto, link::Bytes& frame) { return fateOf(frame); }, host, device};
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  Harness(input).run();
  return 0;
}
