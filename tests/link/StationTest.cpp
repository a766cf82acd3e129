// The link procedure: two stations on a line that loses, doubles, damages and delays frames, in virtual time.
#include <gmock/gmock.h>

#include <array>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "platform/serial/Station.h"
#include "tests/support/Hex.h"

namespace BX::link {
namespace {

using namespace std::chrono_literals;
using test::bytesOf;
using test::hexOf;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

enum class Fate { Pass, Lose, Double, Damage };

// Both stations, the line between them and the clock.
class Line {
 public:
  using Judge = std::function<Fate(bool toDevice, std::size_t index)>;

  explicit Line(Judge fates = {}, Timing timing = {})
      : judge(std::move(fates)), host(Role::Initiator, timing), device(Role::Responder, timing) {}

  void request(std::uint8_t tag, const Bytes& payload) { host.send({tag, false, payload}, now); }
  // Runs until nothing is left to do, or a session has gone down, or `bound` of virtual time has passed.
  void run(std::chrono::milliseconds bound = 60s) {
    const auto end = now + bound;
    while (now < end) {
      while (exchange()) {
      }
      if (ended) return;
      auto next = end;
      for (const auto& deadline : {host.deadline(), device.deadline()}) next = std::min(next, deadline.value_or(end));
      now = std::max(next, now + 1us);
      if (next == end) return;
      host.advance(now);
      device.advance(now);
    }
  }

  Judge judge;
  Station host;
  Station device;
  Station::Time now{};
  std::vector<std::string> atHost;  // payloads
  std::vector<std::string> atDevice;
  std::size_t acknowledgedToDevice = 0;
  std::size_t answers = 0;      // to each request: its bytes and a number
  std::optional<Ending> ended;  // the host's session
  int renewals = 0;
  std::size_t framesToDevice = 0;
  std::size_t framesToHost = 0;

 private:
  bool exchange() {
    const auto fromHost = host.take(now);
    for (const auto& message : fromHost.delivered) atHost.push_back(hexOf(message.payload));
    if (fromHost.ended) ended = fromHost.ended;
    if (fromHost.renewed) ++renewals;
    for (const auto& frame : fromHost.frames) carry(true, framesToDevice++, frame);
    const auto fromDevice = device.take(now);
    for (const auto& message : fromDevice.delivered) answer(message);
    acknowledgedToDevice += fromDevice.acknowledged.size();
    for (const auto& frame : fromDevice.frames) carry(false, framesToHost++, frame);
    return !fromHost.frames.empty() || !fromDevice.frames.empty() || !fromDevice.delivered.empty();
  }
  void answer(Message message) {
    atDevice.push_back(hexOf(message.payload));
    message.payload.push_back(0);
    for (; message.payload.back() < answers; ++message.payload.back()) {
      device.send({message.tag, message.payload.back() + 1U < answers, message.payload}, now);
    }
  }
  void carry(bool toDevice, std::size_t index, Bytes frame) {
    const Fate fate = judge ? judge(toDevice, index) : Fate::Pass;
    if (fate == Fate::Lose) return;
    if (fate == Fate::Damage) frame[frame.size() / 2] ^= 0x10U;
    Station& receiver = toDevice ? device : host;
    FrameDecoder& decoder = toDevice ? deviceDecoder_ : hostDecoder_;
    for (int i = 0; i < (fate == Fate::Double ? 2 : 1); ++i) {
      decoder.feed(frame, [&](auto content) { receiver.receive(content, now); });
    }
  }

  FrameDecoder hostDecoder_;
  FrameDecoder deviceDecoder_;
};

// Every frame of a short conversation in turn, in either direction, meets every fate.
TEST(Station, survivesTheLossDoublingAndDamageOfEachFrame) {
  for (const Fate fate : {Fate::Lose, Fate::Double, Fate::Damage}) {
    for (const bool toDevice : {true, false}) {
      for (std::size_t victim = 0; victim < 14; ++victim) {
        SCOPED_TRACE((toDevice ? "to device " : "to host ") + std::to_string(victim));
        Line line([&](bool direction, std::size_t index) {
          return direction == toDevice && index == victim ? fate : Fate::Pass;
        });
        line.answers = 3;
        for (std::uint8_t tag = 1; tag <= 3; ++tag) {
          line.request(tag, {tag});
          line.run(5s);
        }
        EXPECT_THAT(line.atDevice, ElementsAre("01", "02", "03"));
        EXPECT_THAT(line.atHost, ElementsAre("0100", "0101", "0102", "0200", "0201", "0202", "0300", "0301", "0302"));
        EXPECT_EQ(line.acknowledgedToDevice, 9U);
        EXPECT_FALSE(line.ended);
      }
    }
  }
}

TEST(Station, sendsNothingTwiceOverACleanLine) {
  Line line;
  line.answers = 3;
  line.request(1, {0x73});
  line.run();
  EXPECT_LE(line.framesToDevice, 5U);  // SABM, the request, acknowledgements
  EXPECT_EQ(line.host.framesResent() + line.device.framesResent(), 0U);
}

TEST(Station, deliversPayloadsOfAnyLengthOnceAndInOrderOverABadLine) {
  std::mt19937 random(42);
  Line line([&](bool, std::size_t) {
    const auto dice = random() % 100;
    return dice < 4 ? Fate::Lose : dice < 8 ? Fate::Double : dice < 12 ? Fate::Damage : Fate::Pass;
  });
  line.request(1, {0x6F});
  line.run();
  std::vector<std::string> expected;
  for (std::uint16_t i = 0; i < 2000; ++i) {
    Bytes payload{0xCA, static_cast<std::uint8_t>(i >> 8U), static_cast<std::uint8_t>(i)};
    payload.resize(std::array<std::size_t, 8>{0, 1, 3, 239, 240, 241, 480, 481}[i % 8U]);
    expected.push_back(hexOf(payload));
    line.device.send({streamTag, false, payload}, line.now);
    if (random() % 8 == 0) line.run(300ms);
  }
  line.run(600s);
  EXPECT_FALSE(line.ended);
  EXPECT_EQ(line.atHost, expected);
  EXPECT_EQ(line.device.backlog(), 0U);
}

TEST(Station, givesUpAfterFiveSends) {
  Line line([](bool, std::size_t) { return Fate::Lose; });
  line.request(1, {1});
  line.run();
  EXPECT_EQ(line.framesToDevice, 6U);  // and DISC
  EXPECT_EQ(line.ended, Ending::NoPeer);
  EXPECT_GE(line.now - Station::Time{}, 1300ms);
  EXPECT_LE(line.now - Station::Time{}, 1330ms);
}

TEST(Station, givesUpWhenOneFrameNeverPassesOrASilentLineIsDead) {
  for (const bool sends : {true, false}) {
    Line line;
    line.request(1, {1});
    line.run();
    if (!sends) line.host.setKeepAlive(2000ms, line.now);
    line.run(20s);
    EXPECT_FALSE(line.ended);
    EXPECT_LT(line.framesToDevice, 20U);
    line.judge = [](bool toDevice, std::size_t) { return toDevice ? Fate::Damage : Fate::Pass; };
    for (std::uint8_t tag = 2; sends && tag < 6; ++tag) line.request(tag, {tag});
    line.run(20s);
    EXPECT_EQ(line.ended, Ending::NotAcknowledged);
  }
}

TEST(Station, waitsForTheLastByteToLeave) {
  // 240 bytes take 2 s at 1,200 baud: no resend may come before.
  Line line([](bool toDevice, std::size_t index) { return toDevice && index > 0 ? Fate::Lose : Fate::Pass; },
            Timing{.baud = 1200});
  line.request(1, Bytes(240, 0x55));
  line.run(2s);
  EXPECT_EQ(line.framesToDevice, 2U);
  line.run(400ms);
  EXPECT_EQ(line.framesToDevice, 3U);
}

// A request that met no session had no effect and is sent again in a new one; when it may have had one, it is not.
TEST(Station, renewsALostSessionUnlessTheRequestMayHaveHadItsEffect) {
  Line line;
  line.request(1, {1});
  line.run();
  line.device.restart();
  line.request(2, Bytes(300, 2));
  line.run();
  EXPECT_EQ(line.renewals, 1);
  EXPECT_THAT(line.atDevice, SizeIs(2));
  const auto answered = line.framesToHost;
  line.judge = [&](bool toDevice, std::size_t index) {  // it is received, and its acknowledgement lost with the session
    if (toDevice || index != answered) return Fate::Pass;
    line.device.restart();
    return Fate::Lose;
  };
  line.request(3, {3});
  line.run();
  EXPECT_EQ(std::exchange(line.ended, std::nullopt), Ending::NoSession);
  line.request(4, {4});
  line.run();
  EXPECT_THAT(line.atDevice, SizeIs(4));
  line.device.restart();
  line.request(5, {5});
  line.request(6, {6});  // DM could answer either
  line.run();
  EXPECT_EQ(line.ended, Ending::NoSession);
  EXPECT_EQ(line.renewals, 1);
  EXPECT_THAT(line.atDevice, SizeIs(4));
}

// ---- Frame by frame, at one instant.

Station::Output receive(Station& station, const std::string& content) {
  station.receive(bytesOf(content), {});
  return station.take({});
}

std::vector<Bytes> framesOf(std::initializer_list<const char*> contents) {
  std::vector<Bytes> frames;
  for (const auto* content : contents) frames.push_back(encodeFrame(bytesOf(content)));
  return frames;
}

// A host that reconnects meets what its predecessor left on the line.
TEST(Station, takesNothingOfAnEarlierSessionForItsOwn) {
  Station host(Role::Initiator, {}, 76);
  host.send({1, false, {2}}, {});
  EXPECT_EQ(host.take({}).frames, framesOf({"3F4D"}));
  for (const char* stale : {"730B", "0001AA", "21"}) EXPECT_THAT(receive(host, stale).frames, IsEmpty());
  EXPECT_EQ(host.state(), Station::State::Connecting);
  const auto begun = receive(host, "734D");
  EXPECT_TRUE(begun.sessionBegan);
  EXPECT_THAT(begun.delivered, IsEmpty());
  EXPECT_EQ(begun.frames, framesOf({"000102"}));
}

TEST(Station, ignoresItsOwnEcho) {
  Line line;
  line.host.send({1, false, {1}}, {});
  FrameDecoder decoder;
  for (int i = 0; i < 10 && line.host.deadline(); ++i) {
    for (const auto& frame : line.host.take(line.now).frames) {
      decoder.feed(frame, [&](auto content) { line.host.receive(content, line.now); });
    }
    line.now = *line.host.deadline();
    line.host.advance(line.now);
  }
  EXPECT_EQ(line.host.state(), Station::State::Down);
}

// The answer to the first SABM was late. What the device has to say waits until no further one can be under way.
TEST(Station, answersARepeatedBeginningWithoutBeginningAnew) {
  Station device(Role::Responder, {});
  EXPECT_TRUE(receive(device, "3F07").sessionBegan);
  device.send({streamTag, false, {0xCA}}, {});
  EXPECT_THAT(device.take({}).frames, IsEmpty());
  const auto again = receive(device, "3F07");
  EXPECT_FALSE(again.sessionBegan || again.ended);
  EXPECT_EQ(again.frames, framesOf({"7307"}));
  EXPECT_EQ(receive(device, "01").frames, framesOf({"0000CA"}));
  EXPECT_THAT(receive(device, "21").acknowledged, SizeIs(1));
  EXPECT_TRUE(receive(device, "3F07").sessionBegan);  // another host, with the same number by chance
}

}  // namespace
}  // namespace BX::link
