// The registry: which devices it keeps, what its operations send, and removals beside operations.
#include "bx/BXDeviceManager.h"

#include <algorithm>
#include <future>
#include <utility>

#include "tests/device/DeviceTesting.h"

namespace BX::test {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::IsEmpty;

struct Registered : LoopbackDevice {
  explicit Registered(sim::Options options = {}) : LoopbackDevice(std::move(options)) {
    manager.addDevice(port, "name");
  }

  std::string connect() { return manager.connectDevice(port, true).toString(); }
  bool isRegistered() { return manager.setSessionSettings(port, Json()); }

  BXDeviceManager manager;
};

const std::string connectResult = R"({"loopback":)" + simulatedSettings + "}";

TEST(Registry, KeepsOneDeviceForAPort) {
  Registered registered;
  registered.manager.getDevice("loopback").setTarget(parsed(R"({"TargetName":"A"})"));
  EXPECT_FALSE(registered.manager.addDevice("loopback", "other"));
  EXPECT_EQ(registered.manager.getDevice("loopback").getTarget().toString(), R"({"TargetName":"A"})");
  EXPECT_TRUE(registered.manager.removeDevice("loopback"));
  EXPECT_FALSE(registered.manager.removeDevice("loopback"));
  EXPECT_TRUE(registered.manager.addDevice("loopback", ""));
  EXPECT_TRUE(registered.manager.internalRemoveDevice("loopback"));
  EXPECT_FALSE(registered.manager.internalRemoveDevice("loopback"));
  try {
    registered.manager.getDevice("COM7");
    FAIL();
  } catch (const std::out_of_range& error) {
    EXPECT_THAT(error.what(), testing::HasSubstr("COM7"));
  }
}

TEST(Registry, DoesNothingForAnUnknownPort) {
  BXDeviceManager manager;
  Json target;
  EXPECT_EQ(manager.connectDevice("x", false).toString(), "{}");
  EXPECT_EQ(manager.connectDevices().toString(), "{}");
  EXPECT_EQ(manager.getDeviceSettings("x").toString(), "{}");
  EXPECT_FALSE(manager.setupDeviceSettings("x", Json()));
  EXPECT_FALSE(manager.setSessionSettings("x", Json()));
  EXPECT_FALSE(manager.createTargetOnDevice("x", "RING", target));
  EXPECT_THAT(manager.downloadDeviceTrainingSession("x"), IsEmpty());
  manager.setDeviceSettings("x", Json());
  manager.setDeviceMode("x", BXSerialCom::RESTING);
  manager.setCallBackFunction("x", [] {});
  manager.startTraining("x");
  manager.stopTraining("x");
  manager.stopTraining();
  manager.clearTargetData("x");
  manager.clearTrainingData("x");
  manager.disconnectDevice("x");
  manager.disconnectDevices();
}

TEST(Registry, WaitsHalfASecondForEachDeviceThatItDestroys) {
  int waits = 0;
  platform::replaceTime({[&](milliseconds duration) { waits += duration == milliseconds(500) ? 1 : 0; }, {}});
  {
    BXDeviceManager manager;
    for (const char* port : {"a", "b", "c"}) manager.addDevice(port, "");
    EXPECT_EQ(waits, 3);  // what addDevice builds is copied and destroyed
    manager.addDevice("a", "");
    EXPECT_EQ(waits, 3);
  }
  EXPECT_EQ(waits, 6);
  platform::replaceTime({});
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
    Registered registered(withScript({refusing(refused)}));
    EXPECT_EQ(registered.connect(), "{}") << refused;
    EXPECT_FALSE(registered.isRegistered()) << refused;
  }
}

TEST(Connecting, OfAllKeepsWhatItCan) {
  LoopbackDevice good({}, "b-good");
  LoopbackDevice bad(withScript({refusing("6300")}), "a-bad");
  LoopbackDevice frameless(withScript({refusing("6500")}), "c-frameless");
  BXDeviceManager manager;
  for (const auto* device : {&good, &bad, &frameless}) manager.addDevice(device->port, "");
  {
    const StreamCapture output(std::cout);
    EXPECT_EQ(manager.connectDevices().toString(),
              R"({"b-good":)" + simulatedSettings + R"(,"c-frameless":)" + simulatedInformation + "}}");
    EXPECT_EQ(output.text(),
              "Connecting device on port: a-bad\nConnecting device on port: b-good\n"
              "Connecting device on port: c-frameless\n");
  }
  EXPECT_FALSE(manager.setSessionSettings("a-bad", Json()));
  EXPECT_EQ(good.sent("73").size(), 1U);

  const StreamCapture output(std::cout);
  manager.disconnectDevices();
  EXPECT_EQ(output.text(), "Disconnecting device on port: b-good\nDisconnecting device on port: c-frameless\n");
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
  // The mode commands since the last call.
  auto modes = [&registered, seen = std::vector<std::string>{"6F0271", "6F0473"}]() mutable {
    const auto before = std::exchange(seen, registered.sent("6F"));
    return std::vector<std::string>(seen.begin() + static_cast<std::ptrdiff_t>(std::min(before.size(), seen.size())),
                                    seen.end());
  };
  const std::vector<std::string> bracket = {"6F0675", "6F0473"};
  Json target = parsed(R"({"RingTargetNumber":1,"SilhouetteTargetNumber":2})");

  EXPECT_TRUE(registered.manager.setupDeviceSettings("loopback", parsed(R"({"Mounting":"LEFT"})")));
  EXPECT_EQ(modes(), bracket);
  registered.manager.setDeviceSettings("loopback", parsed(R"({"Mounting":"RIGHT"})"));
  EXPECT_EQ(modes(), bracket);
  EXPECT_EQ(registered.sent("6400").size(), 2U);
  EXPECT_TRUE(registered.manager.createTargetOnDevice("loopback", "RING", target));
  EXPECT_EQ(modes(), bracket);
  EXPECT_EQ(registered.sent("6C").size(), 4U);
  EXPECT_TRUE(registered.manager.createTargetOnDevice("loopback", "Ring", target));
  EXPECT_EQ(modes(), bracket);
  EXPECT_EQ(registered.sent("66").size(), 2U);
  EXPECT_EQ(registered.manager.getDevice("loopback").getTarget().toString(), target.toString());
  EXPECT_THAT(registered.manager.downloadDeviceTrainingSession("loopback"), IsEmpty());
  EXPECT_EQ(modes(), bracket);
  registered.manager.clearTrainingData("loopback");
  EXPECT_EQ(modes(), bracket);
  EXPECT_EQ(registered.sent("62").size(), 7U);
  registered.manager.clearTargetData("loopback");
  EXPECT_THAT(registered.manager.getDevice("loopback").getAllTargets(), IsEmpty());
  EXPECT_EQ(modes(), std::vector<std::string>());
}

TEST(Operations, StopTrainingBringsEveryRecord) {
  Registered registered(streaming(std::vector<std::string>(100, "CA41")));
  registered.connect();
  registered.manager.startTraining("loopback");
  ASSERT_TRUE(registered.simulator.awaitTranscript("< CA", 100));
  registered.manager.stopTraining();
  EXPECT_EQ(registered.manager.getDevice("loopback").trainingFrameCount(), 100U);
  EXPECT_EQ(registered.sent("6F").back(), "6F0473");
}

TEST(Removal, FollowsAHangUpDuringAStreamAndLeavesReferencesAlive) {
  Registered registered(streaming({"CA41"}));
  registered.connect();
  BXDevice& device = registered.manager.getDevice("loopback");
  registered.manager.startTraining("loopback");
  registered.simulator.hangUp();
  await([&] { return !registered.isRegistered(); });
  registered.manager.stopTraining();
  EXPECT_FALSE(device.getSerialCom().isConnected());
  EXPECT_THROW(registered.manager.getDevice("loopback"), std::out_of_range);
  EXPECT_TRUE(registered.manager.addDevice("loopback", ""));
}

// Under the sanitizers above all: the removal on the listening thread meets each thing that the host may be doing.
TEST(Removal, OnAHangUpMeetsWhateverTheHostDoes) {
  const std::vector<std::function<void(BXDeviceManager&)>> deeds = {
      [](BXDeviceManager& manager) { manager.stopTraining("loopback"); },
      [](BXDeviceManager& manager) { manager.disconnectDevice("loopback"); },
      [](BXDeviceManager& manager) { manager.disconnectDevices(); },
      [](BXDeviceManager& manager) { manager.setupDeviceSettings("loopback", Json()); },
      [](BXDeviceManager& manager) { manager.connectDevice("loopback", true); },
      [](BXDeviceManager& manager) { manager = BXDeviceManager(manager); },
      [](BXDeviceManager&) {},  // destroys the manager
  };
  for (const auto& deed : deeds) {
    LoopbackDevice simulated(streaming(std::vector<std::string>(1000, "CA41")));
    const StreamCapture quiet(std::cout);
    {
      BXDeviceManager manager;
      manager.addDevice("loopback", "");
      manager.connectDevice("loopback", true);
      manager.startTraining("loopback");
      auto hangUp = std::async(std::launch::async, [&] { simulated.simulator.hangUp(); });
      deed(manager);
      hangUp.get();
    }
  }
}

TEST(Removal, MakesTheOperationOfAnotherThreadFail) {
  Registered registered;
  std::promise<void> reached;
  std::promise<void> goOn;
  platform::replaceTime({[&](milliseconds duration) {
                           if (duration != milliseconds(2000)) return;
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

TEST(Copying, TakesDevicesWithoutRecordsWhileTheyStream) {
  Registered registered(streaming(std::vector<std::string>(1000, shotPayload)));
  registered.connect();
  const StreamCapture quiet(std::cout);
  registered.manager.startTraining("loopback");
  await([&] { return registered.manager.getDevice("loopback").trainingFrameCount() > 0; });
  BXDeviceManager copy(registered.manager);
  registered.manager.stopTraining("loopback");
  EXPECT_EQ(copy.getDevice("loopback").trainingFrameCount(), 0U);
  EXPECT_FALSE(copy.getDevice("loopback").getSerialCom().isConnected());
  registered.manager = copy;
  EXPECT_FALSE(registered.manager.getDevice("loopback").getSerialCom().isConnected());
}

}  // namespace
}  // namespace BX::test
