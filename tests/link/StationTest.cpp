// The link procedure on a line that loses, doubles, damages and delays frames, in simulated time; Explorer.cpp tries
// all orders of few events.
#include <gtest/gtest.h>

#include <string>

#include "platform/codec/Control.h"
#include "tests/support/Hex.h"
#include "tests/support/TwoStations.h"

namespace BX::link {
namespace {

using namespace std::chrono_literals;
using test::bytesOf, test::Line;

constexpr auto ToDevice = Line::ToDevice;
constexpr auto ToHost = Line::ToHost;

constexpr Line::Fate lost{.copies = 0};

void request(Line& line, std::size_t size = 4) {
  line.host.send(1, false, size, line.now);
  line.run(10s);
}

TEST(Station, sendsNothingTwiceOverACleanLine) {
  Line line;
  line.host.send(1, false, 4, line.now);
  line.run(5ms);
  for (const bool moreFollows : {true, true, false}) line.device.send(1, moreFollows, 4, line.now);
  line.run(10s);
  EXPECT_EQ(line.host.delivered, 3U);
  EXPECT_LE(line.carried[ToDevice], 5U);  // SABM, the request, acknowledgements
  EXPECT_EQ(line.host.station.framesResent() + line.device.station.framesResent(), 0U);
}

TEST(Station, givesUpAHostsSessionAfterFiveSends) {
  Line line([](auto, auto, auto&) { return lost; });
  request(line);
  EXPECT_EQ(line.carried[ToDevice], 6U);  // and DISC
  EXPECT_EQ(line.host.ended, Ending::NoPeer);
  EXPECT_GE(line.host.endedAt.time_since_epoch(), 1300ms);
  EXPECT_LE(line.host.endedAt.time_since_epoch(), 1330ms);
}

TEST(Station, givesUpWhenOneFrameNeverPassesOrASilentLineIsDead) {
  for (const bool sends : {true, false}) {
    Line line;
    request(line);
    if (!sends) line.host.station.setKeepAlive(2000ms, line.now);
    line.run(20s);
    EXPECT_FALSE(line.host.ended);
    EXPECT_LT(line.carried[ToDevice], 20U);
    line.judge = [](auto direction, auto, const Bytes& frame) {
      return direction == ToHost || withoutPollFinal(frame[2]) == DISC ? Line::Fate() : lost;
    };
    for (int i = 0; sends && i < 4; ++i) line.host.send(2, false, 4, line.now);
    line.run(20s);
    EXPECT_EQ(line.host.ended, Ending::NotAcknowledged);
    EXPECT_EQ(line.device.ended, Ending::Disconnected) << "it need not repeat for ever";
  }
}

// A host that is suspended, or whose line is held up, finds everything when it goes on.
TEST(Station, keepsADevicesSessionUntilTheHostWasSilentForLong) {
  Line line;
  request(line);
  line.run(1h);
  line.hostSleeps = true;
  for (int i = 0; i < 3000; ++i) {
    line.device.send(streamTag, false, 17, line.now);
    line.run(10ms);
  }
  EXPECT_LT(line.carried[ToHost], 60U) << "it repeats in ever longer intervals";
  line.hostSleeps = false;
  line.run(10s);
  EXPECT_EQ(line.host.delivered, 3000U);
  EXPECT_FALSE(line.host.ended || line.device.ended);
  line.hostSleeps = true;
  line.device.send(streamTag, false, 17, line.now);
  line.run(59s);
  EXPECT_FALSE(line.device.ended);
  line.run(3s);
  EXPECT_EQ(line.device.ended, Ending::Silent);
}

TEST(Station, waitsForTheLastByteToLeave) {
  // 240 bytes take 2 s at 1,200 baud: no resend may come before.
  Line line(
      [](auto direction, auto number, auto&) { return direction == ToDevice && number > 0 ? lost : Line::Fate(); },
      {.baud = 1200});
  line.host.send(1, false, 240, line.now);
  line.run(2s);
  EXPECT_EQ(line.carried[ToDevice], 2U);
  line.run(400ms);
  EXPECT_EQ(line.carried[ToDevice], 3U);
}

// Whoever has lost the session has done nothing of a request that comes now.
TEST(Station, renewsALostSessionAndSendsTheRequestAgain) {
  Line line;
  request(line);
  line.device.station.restart();
  request(line, 300);
  EXPECT_EQ(line.host.renewals, 1);
  EXPECT_EQ(line.device.delivered, 2U);
  line.host.station.setKeepAlive(2000ms, line.now);
  line.device.station.restart();
  line.run(10s);
  EXPECT_EQ(line.host.ended, Ending::NoSession) << "no request, nothing to send again";
  EXPECT_EQ(line.host.renewals, 1);
}

TEST(Station, tellsEachStepOfAnAnswer) {
  Station host(Role::Initiator, {}, 76);
  host.send({1, false, {2}}, {});
  const auto hears = [&](const char* content) {
    host.receive(bytesOf(content), {});
    return host.take({});
  };
  EXPECT_FALSE(hears("734D").progressed) << "the session began";
  EXPECT_TRUE(hears("21").progressed) << "acknowledged";
  EXPECT_EQ(hears("2081AA").partOf, 1);
}

TEST(Station, ignoresItsOwnEcho) {
  test::End host(Role::Initiator, {});
  test::Time now{};
  host.send(1, false, 4, now);
  for (int i = 0; i < 10 && host.station.deadline(); ++i) {
    for (const auto& frame : host.take(host, now).frames) host.receive(frame, now);
    now = *host.station.deadline();
    host.station.advance(now);
  }
  EXPECT_EQ(host.station.state(), Station::State::Down);
}

}  // namespace
}  // namespace BX::link
