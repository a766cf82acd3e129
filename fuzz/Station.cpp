// One end of the link procedure, the host's or the device's, against whatever the other end may say: sound frames of
// any content at any time, between sends of its own.
#include "platform/serial/Station.h"

#include "fuzz/Fuzz.h"
#include "platform/serial/Control.h"

namespace {

using namespace BX;
using namespace std::chrono_literals;
using fuzz::require;
using link::Bytes;

class Harness {
 public:
  explicit Harness(fuzz::Input& input)
      : input_(input),
        isInitiator_(input.byte() % 2 == 0),
        station_{isInitiator_ ? link::Role::Initiator : link::Role::Responder, {.sends = 1 + input.byte() % 6}} {}

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
        return isInitiator_ ? station_.connect(now_) : station_.restart();
      case 7:
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
    const auto backlog = station_.backlog();
    station_.send({static_cast<std::uint8_t>(tag & link::maxTag), tag > link::maxTag, Bytes(size % 2048, tag)}, now_);
    if (size % 7 == 0) station_.dropUnsent(tag & link::maxTag);
    require(station_.backlog() <= backlog + 1, "nothing is queued twice");
  }

  void settle() {
    station_.advance(now_);
    const auto output = station_.take(now_);
    for (const auto& frame : output.frames) read(frame);
    if (output.sessionBegan) expected_ = 0;
    require(!output.ended || output.sessionBegan || station_.backlog() == 0, "a session that ends forgets its queue");
    require(!output.renewed || station_.backlog() > 0, "a session is renewed for the sake of a message");
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
  bool isInitiator_;
  link::Station station_;
  link::Station::Time now_{};
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
