// The link procedure: two stations on a line that loses, doubles, damages and delays frames, in virtual time.
#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <string>
#include <vector>

#include "platform/serial/Station.h"
#include "tests/support/Hex.h"

namespace BX::link {
namespace {

using namespace std::chrono_literals;
using test::hexOf;

enum class Fate { Pass, Lose, Double, Damage };

// Both stations, the line between them and the clock.
class Line {
 public:
  using Judge = std::function<Fate(bool toDevice, std::size_t index)>;

  explicit Line(Judge judge, Timing timing = {})
      : host(Role::Primary, timing), device(Role::Secondary, timing), judge_(std::move(judge)) {}

  // Runs until nothing is left to do, or a session has gone down, or `bound` of virtual time has passed.
  void run(std::chrono::milliseconds bound = 60s) {
    const auto end = now + bound;
    while (now < end) {
      while (exchange()) {
      }
      if (down) return;
      auto next = end;
      for (const auto& deadline : {host.deadline(), device.deadline()}) {
        if (deadline) next = std::min(next, *deadline);
      }
      now = std::max(next, now + 1us);
      if (next == end) return;
      host.advance(now);
      device.advance(now);
    }
  }

  Station host;
  Station device;
  Station::Time now{};
  std::vector<Message> atHost;
  std::vector<Message> atDevice;
  std::vector<Message> acknowledgedToDevice;
  std::function<void(const Message&)> onRequest = [](const Message&) {};
  std::optional<std::string> down;
  std::size_t framesToDevice = 0;
  std::size_t framesToHost = 0;

 private:
  bool exchange() {
    auto fromHost = host.take(now);
    for (auto& message : fromHost.delivered) atHost.push_back(std::move(message));
    if (fromHost.down) down = fromHost.down;
    for (const auto& frame : fromHost.frames) carry(true, framesToDevice++, frame);
    auto fromDevice = device.take(now);
    for (auto& message : fromDevice.delivered) {
      atDevice.push_back(message);
      onRequest(message);
    }
    for (auto& message : fromDevice.acknowledged) acknowledgedToDevice.push_back(std::move(message));
    for (const auto& frame : fromDevice.frames) carry(false, framesToHost++, frame);
    return !fromHost.frames.empty() || !fromDevice.frames.empty() || !fromDevice.delivered.empty();
  }

  void carry(bool toDevice, std::size_t index, Bytes frame) {
    Station& receiver = toDevice ? device : host;
    FrameDecoder& decoder = toDevice ? deviceDecoder_ : hostDecoder_;
    const Fate fate = judge_(toDevice, index);
    if (fate == Fate::Lose) return;
    if (fate == Fate::Damage) frame[frame.size() / 2] ^= 0x10U;
    for (int i = 0; i < (fate == Fate::Double ? 2 : 1); ++i) {
      decoder.feed(frame, [&](auto content) { receiver.receive(content, now); });
    }
  }

  Judge judge_;
  FrameDecoder hostDecoder_;
  FrameDecoder deviceDecoder_;
};

Message request(std::uint8_t tag, Bytes payload) { return {tag, false, std::move(payload)}; }

// Answers every request with three payloads that carry its bytes.
void answerThrice(Line& line) {
  line.onRequest = [&line](const Message& message) {
    for (std::uint8_t i = 0; i < 3; ++i) {
      Bytes payload = message.payload;
      payload.push_back(i);
      line.device.send({message.tag, i < 2, payload}, line.now);
    }
  };
}

std::vector<std::string> payloads(const std::vector<Message>& messages) {
  std::vector<std::string> texts;
  for (const auto& message : messages) texts.push_back(hexOf(message.payload));
  return texts;
}

TEST(Station, carriesRequestsAndAnswersOverACleanLine) {
  Line line([](bool, std::size_t) { return Fate::Pass; });
  answerThrice(line);
  line.host.send(request(1, {0x73, 0x73}), line.now);
  line.run();
  EXPECT_EQ(payloads(line.atDevice), (std::vector<std::string>{"7373"}));
  EXPECT_EQ(payloads(line.atHost), (std::vector<std::string>{"737300", "737301", "737302"}));
  EXPECT_TRUE(line.atHost[0].moreFollows && line.atHost[1].moreFollows && !line.atHost[2].moreFollows);
  EXPECT_EQ(line.atHost[2].tag, 1);
  EXPECT_EQ(line.acknowledgedToDevice.size(), 3U);
  // SABM, the request, an acknowledgement at the end; nothing is sent twice.
  EXPECT_LE(line.framesToDevice, 5U);
}

// Every frame of a short conversation in turn, in either direction, meets every fate.
TEST(Station, survivesTheLossDoublingAndDamageOfEachFrame) {
  for (const Fate fate : {Fate::Lose, Fate::Double, Fate::Damage}) {
    for (const bool toDevice : {true, false}) {
      for (std::size_t victim = 0; victim < 14; ++victim) {
        Line line([&](bool direction, std::size_t index) {
          return direction == toDevice && index == victim ? fate : Fate::Pass;
        });
        answerThrice(line);
        for (std::uint8_t tag = 1; tag <= 4; ++tag) {
          line.host.send(request(tag, {tag}), line.now);
          line.run(5s);
        }
        const std::string where = std::string(toDevice ? "to device " : "to host ") + std::to_string(victim);
        EXPECT_EQ(payloads(line.atDevice), (std::vector<std::string>{"01", "02", "03", "04"})) << where;
        EXPECT_EQ(line.atHost.size(), 12U) << where;
        EXPECT_EQ(line.acknowledgedToDevice.size(), 12U) << where;
        EXPECT_FALSE(line.down) << where;
      }
    }
  }
}

TEST(Station, deliversAStreamOnceAndInOrderOverABadLine) {
  std::mt19937 random(42);
  Line line([&](bool, std::size_t) {
    const auto dice = random() % 100;
    return dice < 4 ? Fate::Lose : dice < 8 ? Fate::Double : dice < 12 ? Fate::Damage : Fate::Pass;
  });
  line.host.send(request(1, {0x6F}), line.now);
  line.run();
  std::vector<std::string> expected;
  for (std::uint16_t i = 0; i < 2000; ++i) {
    const Bytes payload{0xCA, static_cast<std::uint8_t>(i >> 8U), static_cast<std::uint8_t>(i)};
    expected.push_back(hexOf(payload));
    line.device.send({streamTag, false, payload}, line.now);
    if (random() % 8 == 0) line.run(300ms);
  }
  line.run(600s);
  EXPECT_FALSE(line.down) << *line.down;
  EXPECT_EQ(payloads(line.atHost), expected);
  EXPECT_EQ(line.device.backlog(), 0U);
}

TEST(Station, carriesPayloadsOfAnyLength) {
  Line line([](bool, std::size_t index) { return index % 7 == 3 ? Fate::Lose : Fate::Pass; });
  std::vector<std::string> expected;
  for (const std::size_t size : {0U, 1U, 239U, 240U, 241U, 480U, 481U, 5000U}) {
    const Bytes payload(size, static_cast<std::uint8_t>(size));
    expected.push_back(hexOf(payload));
    line.host.send(request(1, payload), line.now);
  }
  line.run();
  EXPECT_EQ(payloads(line.atDevice), expected);
}

TEST(Station, givesUpAfterFiveSends) {
  Line line([](bool, std::size_t) { return Fate::Lose; });
  line.host.send(request(1, {1}), line.now);
  line.run();
  EXPECT_EQ(line.framesToDevice, 5U);
  EXPECT_EQ(line.down, "no device answers");
  EXPECT_GE(line.now - Station::Time{}, 1300ms);
  EXPECT_LE(line.now - Station::Time{}, 1330ms);
}

TEST(Station, givesUpWhenOneFrameNeverPasses) {
  bool blocked = false;
  Line line([&](bool toDevice, std::size_t) { return blocked && toDevice ? Fate::Damage : Fate::Pass; });
  line.host.send(request(1, {1}), line.now);
  line.run();
  blocked = true;
  for (std::uint8_t tag = 2; tag < 6; ++tag) line.host.send(request(tag, {tag}), line.now);
  line.run();
  EXPECT_EQ(line.down, "the device no longer acknowledges");
}

TEST(Station, waitsForTheLastByteToLeave) {
  // 240 bytes take 2 s at 1,200 baud: no resend may come before.
  Line line([](bool toDevice, std::size_t index) { return toDevice && index > 0 ? Fate::Lose : Fate::Pass; },
            Timing{.baud = 1200});
  line.host.send(request(1, Bytes(240, 0x55)), line.now);
  line.run(2s);
  EXPECT_EQ(line.framesToDevice, 2U);
  line.run(400ms);
  EXPECT_EQ(line.framesToDevice, 3U);
}

TEST(Station, noticesARestartedDevice) {
  Line line([](bool, std::size_t) { return Fate::Pass; });
  line.host.send(request(1, {1}), line.now);
  line.run();
  line.device.restart();
  line.host.send(request(2, {2}), line.now);
  line.run();
  EXPECT_EQ(line.down, "the device has restarted");
  line.down.reset();
  line.host.send(request(3, {3}), line.now);
  line.run();
  EXPECT_EQ(payloads(line.atDevice), (std::vector<std::string>{"01", "03"}));
}

TEST(Station, keepsAnEyeOnASilentLine) {
  bool dead = false;
  Line line([&](bool, std::size_t) { return dead ? Fate::Lose : Fate::Pass; });
  line.host.send(request(1, {1}), line.now);
  line.run();
  line.host.setKeepAlive(2000ms, line.now);
  line.run(20s);
  EXPECT_FALSE(line.down);
  EXPECT_LT(line.framesToDevice, 20U);
  dead = true;
  line.run(20s);
  EXPECT_EQ(line.down, "the device no longer acknowledges");
}

// A host that reconnects meets what its predecessor left on the line.
TEST(Station, takesNothingOfAnEarlierSessionForItsOwn) {
  Station device(Role::Secondary, {});
  Station first(Role::Primary, {}, 10);
  const Station::Time now{};
  std::vector<Bytes> stale;
  const auto pass = [&](const std::vector<Bytes>& frames, Station& to) {
    FrameDecoder decoder;
    for (const auto& frame : frames) decoder.feed(frame, [&](auto content) { to.receive(content, now); });
  };
  first.send(request(1, {1}), now);
  pass(first.take(now).frames, device);
  stale = device.take(now).frames;
  pass(stale, first);
  pass(first.take(now).frames, device);
  (void)device.take(now);
  device.send(request(1, {0xAA}), now);
  for (auto& frame : device.take(now).frames) stale.push_back(frame);

  Station second(Role::Primary, {}, 77);
  second.send(request(1, {2}), now);
  const auto begin = second.take(now).frames;
  pass(stale, second);
  EXPECT_EQ(second.state(), Station::State::Connecting);
  pass(begin, device);
  pass(device.take(now).frames, second);
  EXPECT_EQ(second.state(), Station::State::Up);
  EXPECT_TRUE(second.take(now).delivered.empty());
}

TEST(Station, ignoresItsOwnEcho) {
  Station host(Role::Primary, {});
  Station::Time now{};
  host.send(request(1, {1}), now);
  FrameDecoder decoder;
  for (int i = 0; i < 10 && host.deadline(); ++i) {
    for (const auto& frame : host.take(now).frames) {
      decoder.feed(frame, [&](auto content) { host.receive(content, now); });
    }
    now = *host.deadline();
    host.advance(now);
  }
  EXPECT_EQ(host.state(), Station::State::Down);
}

// The answer to the first SABM was late, and what the device had to say came before the second one.
TEST(Station, answersARepeatedBeginningWithoutBeginningAnew) {
  const auto receive = [](Station& station, const std::string& content) {
    station.receive(test::bytesOf(content), Station::Time{});
    return station.take(Station::Time{});
  };
  Station device(Role::Secondary, {});
  EXPECT_TRUE(receive(device, "3F07").sessionBegan);
  device.send({streamTag, false, {0xCA}}, Station::Time{});
  device.take(Station::Time{});
  const auto again = receive(device, "3F07");
  EXPECT_FALSE(again.sessionBegan || again.down);
  EXPECT_EQ(again.frames, std::vector<Bytes>{encodeFrame(test::bytesOf("7307"))});
  EXPECT_EQ(receive(device, "21").acknowledged.size(), 1U);
  EXPECT_TRUE(receive(device, "3F07").sessionBegan);  // another host, with the same number by chance
}

}  // namespace
}  // namespace BX::link
