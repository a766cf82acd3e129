// The registry: which devices it keeps, what its operations send, and removals beside operations.
#include "bx/BXDeviceManager.h"

#include <future>
#include <set>

#include "tests/device/DeviceTesting.h"
#include "tests/support/DisturbedLine.h"

namespace BX::test {
namespace {

using namespace std::chrono_literals;

struct Registered : LoopbackDevice {
  explicit Registered(sim::Options options = {}) : LoopbackDevice(std::move(options)) {
    manager.addDevice(port, "name");
  }

  std::string connect() { return manager.connectDevice(port, true).toString(); }
  bool isRegistered() { return manager.setSessionSettings(port, Json()); }
  BXDevice& device() { return manager.getDevice(port); }

  BXDeviceManager manager;
};

const std::string connectResult = R"({"loopback":)" + simulatedSettings + "}";

TEST(Registry, KeepsOneDeviceForAPort) {
  Registered registered;
  const auto& device = registered.device();
  EXPECT_FALSE(registered.manager.addDevice("loopback", "other"));
  EXPECT_EQ(&registered.device(), &device);
  EXPECT_TRUE(registered.manager.removeDevice("loopback"));
  EXPECT_FALSE(registered.manager.removeDevice("loopback"));
  EXPECT_TRUE(registered.manager.addDevice("loopback", ""));
  EXPECT_TRUE(registered.manager.internalRemoveDevice("loopback"));
  EXPECT_FALSE(registered.manager.internalRemoveDevice("loopback"));
}

TEST(Registry, GivesNothingForAnUnknownPort) {
  BXDeviceManager manager;
  Json target;
  EXPECT_EQ(manager.connectDevice("x", false).toString(), "{}");
  EXPECT_EQ(manager.connectDevices().toString(), "{}");
  EXPECT_EQ(manager.getDeviceSettings("x").toString(), "{}");
  EXPECT_FALSE(manager.setupDeviceSettings("x", Json()));
  EXPECT_FALSE(manager.setSessionSettings("x", Json()));
  EXPECT_FALSE(manager.createTargetOnDevice("x", "RING", target));
  EXPECT_THAT(manager.downloadDeviceTrainingSession("x"), IsEmpty());
  EXPECT_THAT(manager.takeTrainingFrames("x"), IsEmpty());
  EXPECT_THROW(manager.getDevice("x"), std::out_of_range);
}

TEST(Connecting, ReportsTheSettingsAndSendsNothingTwice) {
  Registered registered;
  EXPECT_EQ(registered.connect(), connectResult);
  EXPECT_THAT(registered.sent("6F"), ElementsAre("6F0271", "6F0473"));
  const auto before = registered.sent();
  EXPECT_EQ(registered.connect(), connectResult);
  EXPECT_EQ(registered.manager.connectDevices().toString(), connectResult);
  EXPECT_EQ(registered.sent(), before);
}

TEST(Connecting, DropsADeviceThatFails) {
  for (const char* refused : {"6F02", "6305", "6501"}) {
    Registered registered(refusing(refused));
    EXPECT_EQ(registered.connect(), "{}") << refused;
    EXPECT_FALSE(registered.isRegistered()) << refused;
  }
}

TEST(Connecting, OfAllKeepsWhatItCan) {
  LoopbackDevice good({}, "b-good");
  LoopbackDevice bad(refusing("6300"), "a-bad");
  LoopbackDevice frameless(refusing("6500"), "c-frameless");
  BXDeviceManager manager;
  for (const auto* device : {&good, &bad, &frameless}) manager.addDevice(device->port, "");
  EXPECT_EQ(manager.connectDevices().toString(),
            R"({"b-good":)" + simulatedSettings + R"(,"c-frameless":)" + simulatedInformation + "}}");
  EXPECT_FALSE(manager.setSessionSettings("a-bad", Json()));
  EXPECT_THAT(good.sent("73"), SizeIs(1));
  manager.disconnectDevices();
  EXPECT_FALSE(manager.setSessionSettings("b-good", Json()));
}

TEST(Connecting, WithoutStartupMindsTheDeviceOfTheEmptyPort) {
  LoopbackDevice nameless({}, "");
  Registered registered;
  registered.manager.addDevice("", "");
  ASSERT_EQ(registered.manager.connectDevice("", false).toString(), R"({"":)" + simulatedSettings + "}");
  EXPECT_EQ(registered.connect(), "{}");  // gives way
  EXPECT_FALSE(registered.isRegistered());

  registered.manager.addDevice("loopback", "");
  EXPECT_NE(registered.manager.connectDevice("loopback", false).toString(), "{}");
  EXPECT_NE(registered.connect(), "{}");  // connected already: the other one gives way
  EXPECT_THROW(registered.manager.getDevice(""), std::out_of_range);
}

TEST(Operations, BracketTransfersWithModes6And4) {
  Registered registered;
  ASSERT_EQ(registered.connect(), connectResult);
  auto& manager = registered.manager;
  Json target = parsed(R"({"RingTargetNumber":1,"SilhouetteTargetNumber":2})");
  const std::pair<std::function<void()>, const char*> table[] = {
      {[&] { EXPECT_TRUE(manager.setupDeviceSettings("loopback", parsed(R"({"Mounting":"LEFT"})"))); },
       "6F06 6400 6401 6402 6483 6F04 "},
      {[&] { manager.setDeviceSettings("loopback", parsed(R"({"Mounting":"RIGHT"})")); },
       "6F06 6400 6401 6402 6483 6F04 "},
      {[&] { EXPECT_TRUE(manager.createTargetOnDevice("loopback", "RING", target)); },
       "6F06 6C01 6C01 6C01 6C01 6F04 "},
      {[&] { EXPECT_TRUE(manager.createTargetOnDevice("loopback", "Ring", target)); }, "6F06 6602 6602 6F04 "},
      {[&] { EXPECT_THAT(manager.downloadDeviceTrainingSession("loopback"), IsEmpty()); }, "6F06 6320 6F04 "},
      {[&] { manager.clearTrainingData("loopback"); }, "6F06 6200 6201 6202 6203 6204 6205 6206 6F04 "}};
  for (const auto& [operation, expected] : table) {
    const auto before = registered.sent().size();
    operation();
    const auto sent = registered.sent();
    std::string heads;
    for (std::size_t i = before; i < sent.size(); ++i) heads += sent[i].substr(0, 4) + ' ';
    EXPECT_EQ(heads, expected);
  }
  EXPECT_EQ(registered.device().getTarget().toString(), target.toString());
  EXPECT_TRUE(manager.createTargetOnDevice("loopback", "RING", target));
  manager.clearTargetData("loopback");
  EXPECT_THAT(registered.device().getAllTargets(), IsEmpty());
}

TEST(Records, OfADownloadAreItsOwnAndItsPagesAreCounted) {
  sim::Options options;
  for (std::uint8_t page = 0; page < 3; ++page)
    options.stored.push_back({1, page, bytesOf("CA65" + std::string(30, '0'))});
  DisturbedDevice device(options);
  BXDeviceManager manager;
  manager.addDevice("loopback", "");
  ASSERT_NE(manager.connectDevice("loopback", true).toString(), "{}");
  std::set<std::pair<std::size_t, std::size_t>> seen;
  for (std::size_t write = 0; write == 0 || device.hostsLine.writes() > write; ++write) {
    device.hostsLine.arm(write, [&] {
      const auto progress = manager.getDevice("loopback").downloadProgress();
      seen.emplace(progress.pagesDone, progress.pages);
      EXPECT_THAT(manager.takeTrainingFrames("loopback"), IsEmpty()) << write;
    });
    EXPECT_THAT(manager.downloadDeviceTrainingSession("loopback"), SizeIs(3));
  }
  EXPECT_THAT(seen, ElementsAre(std::pair(0, 0), std::pair(0, 3), std::pair(1, 3), std::pair(2, 3), std::pair(3, 3)));
  EXPECT_THAT(manager.takeTrainingFrames("loopback"), SizeIs(3));
}

TEST(Removal, FollowsAHangUpDuringAStreamAndLeavesReferencesAndRecordsAlive) {
  for (const bool fetched : {true, false}) {
    Registered registered(streaming(std::vector<std::string>(20, "CA41")));
    registered.connect();
    BXDevice& device = registered.device();
    registered.manager.startTraining("loopback");
    ASSERT_TRUE(registered.simulator.awaitTranscript("< CA", 20));
    registered.simulator.hangUp();
    await([&] { return !registered.isRegistered(); });
    registered.manager.stopTraining();
    EXPECT_FALSE(device.getSerialCom().isConnected());
    EXPECT_EQ(device.getDeviceSettings().toString(), simulatedSettings);
    EXPECT_THAT(device.getTrainingFrames(), SizeIs(20));
    if (fetched) {
      EXPECT_THAT(registered.manager.takeTrainingFrames("loopback"), SizeIs(20));
    }
    EXPECT_TRUE(registered.manager.addDevice("loopback", ""));
    EXPECT_THAT(registered.manager.takeTrainingFrames("loopback"), IsEmpty());
  }
}

TEST(Removal, MakesTheOperationOfAnotherThreadFail) {
  Registered registered;
  std::promise<void> reached;
  std::promise<void> goOn;
  platform::replaceTime({[&](std::chrono::milliseconds duration) {
                           if (duration != 2s) return;
                           reached.set_value();
                           goOn.get_future().wait();
                         },
                         {}});
  auto result = std::async(std::launch::async, [&] { return registered.manager.connectDevice("loopback", false); });
  reached.get_future().wait();
  EXPECT_TRUE(registered.manager.removeDevice("loopback"));
  EXPECT_TRUE(registered.manager.addDevice("loopback", "next"));
  goOn.set_value();
  EXPECT_EQ(result.get().toString(), "{}");
  EXPECT_THAT(registered.sent(), IsEmpty());
  EXPECT_TRUE(registered.isRegistered());  // the next one is not dropped in place of the first
}

}  // namespace
}  // namespace BX::test
