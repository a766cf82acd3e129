// The simulated device from its line on: arbitrary bytes, sound frames of arbitrary content, and the requests of a host
// that keeps to the procedure, in any order. As the simulator's own core, without its thread, line and clock.
#include <utility>

#include "fuzz/Fuzz.h"
#include "platform/serial/Station.h"
#include "simulator/DeviceModel.h"

namespace {

using namespace BX;
using namespace std::chrono_literals;
using fuzz::require;
using sim::Bytes;
using Received = std::span<const std::uint8_t>;
using Time = link::Station::Time;

constexpr link::Timing timing{.baud = 0, .resend = 100ms, .sends = 3, .keepAlive = {}};
constexpr std::size_t streamBacklog = 14;

class Device {
 public:
  Device() : model_(options_) {}

  void hear(Received bytes, Time now) {
    decoder_.feed(bytes, [&](Received content) {
      station_.receive(content, now);
      settle(now);
    });
  }
  void pass(Time now) {
    station_.advance(now);
    settle(now);
    while (model_.hasStreamed() && station_.backlog() < streamBacklog) {
      station_.send({link::streamTag, false, model_.nextStreamed()}, now);
    }
    settle(now);
  }
  std::vector<Bytes> said() { return std::exchange(said_, {}); }

 private:
  void settle(Time now) {
    for (bool more = true; more;) {
      link::Station::Output output = station_.take(now);
      said_.insert(said_.end(), output.frames.begin(), output.frames.end());
      if (output.ended || output.sessionBegan) model_.rest();
      for (const auto& request : output.delivered) answer(request, now);
      more = !output.delivered.empty();
    }
  }
  void answer(const link::Message& request, Time now) {
    auto payloads = model_.answer(request.payload);
    require(!payloads.empty(), "every request has an answer");
    for (std::size_t i = 0; i < payloads.size(); ++i) {
      station_.send({request.tag, i + 1 < payloads.size(), std::move(payloads[i])}, now);
    }
  }

  const sim::Options options_;
  sim::DeviceModel model_;
  link::Station station_{link::Role::Responder, timing};
  link::FrameDecoder decoder_;
  std::vector<Bytes> said_;
};

class Harness {
 public:
  explicit Harness(fuzz::Input& input) : input_(input) {}

  void run() {
    while (!input_.empty()) {
      act(input_.byte());
      exchange();
    }
    // Whatever came before: the next host is served.
    host_.disconnect(now_);
    request({sim::wire::poll, sim::wire::poll});
    for (int i = 0; i < 4; ++i) {
      now_ += 1s;
      exchange();
    }
    require(lastAnswer_ == Bytes{sim::wire::accepted, sim::wire::poll}, "the device answers");
  }

 private:
  void act(std::uint8_t what) {
    switch (what % 4) {
      case 0:
        return device_.hear(input_.block(), now_);
      case 1: {
        const auto content = input_.block();
        if (content.empty() || content.size() > link::maxContentSize) return;
        return device_.hear(link::encodeFrame(content), now_);
      }
      case 2: {
        const auto block = input_.block();
        Bytes payload(block.begin(), block.end());
        payload.push_back(sim::wire::sumOf(payload));
        return request(std::move(payload));
      }
      default:
        now_ += std::chrono::milliseconds(what);
    }
  }

  void request(Bytes payload) {
    tag_ = static_cast<std::uint8_t>(tag_ % link::maxTag + 1);
    host_.send({tag_, false, std::move(payload)}, now_);
  }

  // A round or two of frames to and fro; the line has no length.
  void exchange() {
    for (int rounds = 0; rounds < 4; ++rounds) {
      host_.advance(now_);
      const auto output = host_.take(now_);
      for (const auto& message : output.delivered) {
        if (message.tag == tag_) lastAnswer_ = message.payload;
      }
      for (const auto& frame : output.frames) device_.hear(frame, now_);
      device_.pass(now_);
      for (const auto& frame : device_.said()) {
        decoder_.feed(frame, [this](Received content) { host_.receive(content, now_); });
      }
    }
  }

  fuzz::Input& input_;
  Time now_{};
  Device device_;
  link::Station host_{link::Role::Initiator, timing};
  link::FrameDecoder decoder_;
  std::uint8_t tag_ = 0;
  Bytes lastAnswer_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  Harness(input).run();
  return 0;
}
