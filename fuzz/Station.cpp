// One end of the link procedure, the host's or the device's, against whatever the other end may say: sound frames of
// any content at any time, between sends of its own.
#include "platform/serial/Station.h"

#include <deque>

#include "fuzz/Fuzz.h"
#include "platform/serial/Control.h"

namespace {

using namespace BX;
using namespace std::chrono_literals;
using fuzz::require;
using link::Bytes;

class Harness {
 public:
  explicit Harness(fuzz::Input& input) : input_(input), station_{role(), timing(), input.byte()} {}

  void run() {
    while (!input_.empty()) {
      step(input_.byte());
      settle();
    }
    // Left alone it comes to rest: a station that went on for ever would keep a processor busy.
    for (int i = 0; station_.deadline(); ++i) {
      require(i < 100, "an end that hears nothing comes to rest");
      now_ = *station_.deadline();
      settle();
    }
  }

 private:
  link::Role role() {
    const auto byte = input_.byte();
    isInitiator_ = byte % 2 == 0;
    return isInitiator_ ? link::Role::Initiator : link::Role::Responder;
  }
  link::Timing timing() {
    const auto byte = input_.byte();
    return {.baud = byte % 2 == 0 ? 0U : 115200U, .resend = 100ms, .sends = 1 + byte % 6, .keepAlive = {}};
  }

  void step(std::uint8_t what) {
    switch (what % 10) {
      case 0:
        return station_.receive(input_.block(), now_);
      case 1:  // a peer that agrees: the session that was asked for
        return receive({isInitiator_ ? answer(link::UA) : answer(link::SABM), isInitiator_ ? session_ : input_.byte()});
      case 2:  // and that has received everything so far
        return receive({link::withReceiveNumber(link::RR | (input_.byte() % 2 == 0 ? 0U : link::pollFinal), next_)});
      case 3:
        return receiveInformation(input_.byte());
      case 4:
        now_ += std::chrono::milliseconds(input_.twoBytes());
        return;
      case 5:
        return send(input_.byte(), input_.twoBytes());
      case 6:
        queued_.clear();
        if (isInitiator_) return station_.connect(now_);
        return station_.restart();
      case 7:
        queued_.clear();
        return station_.disconnect(now_);
      case 8:
        return station_.setKeepAlive(std::chrono::milliseconds(input_.twoBytes()), now_);
      default:
        return receive({input_.byte(), input_.byte()});
    }
  }

  static std::uint8_t answer(std::uint8_t control) { return control | link::pollFinal; }
  void receive(const Bytes& content) { station_.receive(content, now_); }

  // The next information frame of a peer that counts as it should.
  void receiveInformation(std::uint8_t info) {
    Bytes content{link::informationControl(expected_, next_), info};
    const auto data = input_.take(info % 8U);
    content.insert(content.end(), data.begin(), data.end());
    expected_ = link::numberAfter(expected_);
    receive(content);
  }

  void send(std::uint8_t tag, std::uint16_t size) {
    const bool dropped = !isInitiator_ && station_.state() == link::Station::State::Down;
    if (isInitiator_ && station_.state() == link::Station::State::Down) queued_.clear();
    Bytes payload(size % 2048, tag);
    if (!dropped) queued_.push_back(payload);
    station_.send({static_cast<std::uint8_t>(tag & link::maxTag), tag > link::maxTag, std::move(payload)}, now_);
  }

  void settle() {
    station_.advance(now_);
    const auto output = station_.take(now_);
    for (const auto& frame : output.frames) read(frame);
    for (const auto& message : output.acknowledged) {
      require(!queued_.empty() && queued_.front() == message.payload, "acknowledged in the order of sending");
      queued_.pop_front();
    }
    if (output.ended || (output.sessionBegan && !isInitiator_)) queued_.clear();
    if (output.sessionBegan) expected_ = 0;
    require(station_.backlog() == queued_.size(), "what is queued is sent or given up");
    const auto deadline = station_.deadline();
    require(!deadline || *deadline > now_, "what is due is done");
  }

  void read(const Bytes& frame) {
    int contents = 0;
    link::FrameDecoder decoder;
    decoder.feed(frame, [&](std::span<const std::uint8_t> content) {
      ++contents;
      if (link::isInformation(content[0])) next_ = link::numberAfter(link::sendNumber(content[0]));
      if (content[0] == answer(link::SABM)) session_ = content[1];
      if (content[0] == answer(link::SABM) || content[0] == answer(link::UA)) next_ = 0;
    });
    require(contents == 1, "every frame is sound");
  }

  fuzz::Input& input_;
  bool isInitiator_ = true;
  link::Station station_;
  link::Station::Time now_{};
  std::deque<Bytes> queued_;
  std::uint8_t session_ = 0;
  std::uint8_t next_ = 0;      // what acknowledges all that it has sent
  std::uint8_t expected_ = 0;  // the number that it expects next
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  Harness(input).run();
  return 0;
}
