// A device against the simulated one: what is sent, in which order, and what comes of each answer.
#include "tests/device/DeviceTesting.h"

namespace BX::test {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

const std::vector<std::string> informationRequests = {"630063", "630265", "630366", "630467",
                                                      "630568", "630164", "630669"};
const std::vector<std::string> frameRequests = {"650065", "650166", "650267", "650368", "65086D", "65096E",
                                                "651075", "651176", "651277", "651378", "65B81D"};

struct Connection : LoopbackDevice {
  explicit Connection(sim::Options options = {}) : LoopbackDevice(std::move(options)) { device.setDevicePort(port); }

  bool connect() { return device.connectDevice(true); }
  bool enter(BXSerialCom::DeviceMode mode) { return device.setDeviceMode(mode, false); }
  void stop() {
    enter(BXSerialCom::RESTING);
    device.stopThread();
    await([this] { return !device.getSerialCom().getStreaming(); });
  }

  BXDevice device;
};

class ConnectTest : public testing::TestWithParam<bool> {};

TEST_P(ConnectTest, SendsTheSequenceWithItsWaits) {
  const bool skipStartup = GetParam();
  std::vector<milliseconds> waits;  // outlives the device, which waits once more
  Connection connection;
  platform::replaceTime({[&](milliseconds duration) { waits.push_back(duration); }, {}});
  const LogCapture log;

  EXPECT_TRUE(connection.device.connectDevice(skipStartup));

  std::vector<std::string> sent = {"6F0271"};
  std::vector<std::string> texts = {"SET DEVICE MODE STARTED"};
  sent.insert(sent.end(), informationRequests.begin(), informationRequests.end());
  std::vector<milliseconds> expectedWaits = {milliseconds(500)};
  if (!skipStartup) {
    sent.insert(sent.begin(), "7373");
    texts.insert(texts.begin(), {"Send Startup Command", "Startup Success!!!"});
    expectedWaits.insert(expectedWaits.begin(), milliseconds(2000));
  }
  EXPECT_EQ(connection.sent(), sent);
  EXPECT_EQ(LogCapture::texts(), texts);
  EXPECT_EQ(waits, expectedWaits);
  EXPECT_TRUE(connection.device.isDeviceInitialized());
  EXPECT_EQ(connection.device.getDeviceSettings().toString(), simulatedInformation + "}");

  EXPECT_TRUE(connection.device.connectDevice(false));  // connected already
  EXPECT_EQ(connection.sent(), sent);
  EXPECT_EQ(waits, expectedWaits);
}

INSTANTIATE_TEST_SUITE_P(WithAndWithoutStartup, ConnectTest, testing::Bool());

TEST(Connect, EndsDisconnectedWhenTheDeviceRefuses) {
  // A date that is shorter than its label fails as well.
  for (const auto& script : {refusing("6F02"), refusing("6300"), refusing("6306"), scripted("6304", "596304 41")}) {
    Connection connection(withScript({script}));
    EXPECT_FALSE(connection.connect()) << hexOf(script.request);
    EXPECT_TRUE(connection.device.hasError());
    EXPECT_FALSE(connection.device.isDeviceInitialized());
    EXPECT_FALSE(connection.device.getSerialCom().isConnected());
    EXPECT_EQ(connection.device.getDeviceSettings().toString(), "{}");
  }
}

TEST(Connect, GoesOnWithoutStartupAndWithoutAnItemThatIsAnsweredOddly) {
  Connection connection(withScript({refusing("73"), scripted("6300", "5964"), scripted("6303", "59630341")}));
  const LogCapture log;
  EXPECT_TRUE(connection.device.connectDevice(false));
  EXPECT_THAT(LogCapture::texts(), ElementsAre("Send Startup Command", "SET DEVICE MODE STARTED"));
  EXPECT_EQ(connection.device.getDeviceSettings().toString(),
            R"({"DeviceID":"BX-SIM","Program":"A","Date":"21.11.26","Time":"12:00:00"})");
}

TEST(Connect, TriesThreeTimesToOpenThePort) {
  Connection connection;
  int tries = 0;
  link::setTransport(connection.port, [&](const std::string&) -> std::unique_ptr<link::Transport> {
    if (++tries < 4) throw std::runtime_error("no such port");
    return connection.line.hostEnd();
  });
  EXPECT_FALSE(connection.connect());
  EXPECT_EQ(tries, 3);
  EXPECT_TRUE(connection.connect());
}

TEST(ParameterSets, AreReadInOrderAndTheFirstAnswerCounts) {
  Connection connection;
  ASSERT_TRUE(connection.connect());
  EXPECT_TRUE(connection.device.getParameterSetFrames());
  EXPECT_EQ(connection.sent("65"), frameRequests);
  EXPECT_EQ(connection.device.getDeviceSettings().toString(), simulatedSettings);

  connection.device.setDeviceSettings(parsed(R"({"Mounting":"LEFT","SleepWakeUp":false})"));
  ASSERT_TRUE(connection.enter(BXSerialCom::TRANSFER));
  ASSERT_TRUE(connection.device.setParameterSetFrames());
  EXPECT_TRUE(connection.device.getParameterSetFrames());
  const std::string settings = connection.device.getDeviceSettings().toString();
  EXPECT_THAT(settings, testing::HasSubstr(R"("Mounting":"ABOVE")"));
  EXPECT_THAT(settings, testing::HasSubstr(R"("SleepWakeUp":true)"));
}

TEST(ParameterSets, CountAsReadOnceTheyWereLookedUp) {
  Connection connection;
  ASSERT_TRUE(connection.connect());
  connection.device.processDeviceFrames();
  EXPECT_TRUE(connection.device.getParameterSetFrames());
  EXPECT_EQ(connection.device.getDeviceSettings().toString(), simulatedInformation + "}");
}

TEST(ParameterSets, ChangeNothingWhenOneIsRefusedOrTooShort) {
  Connection refused(withScript({refusing("6509")}));
  ASSERT_TRUE(refused.connect());
  EXPECT_FALSE(refused.device.getParameterSetFrames());
  EXPECT_THAT(refused.sent("65"), SizeIs(6));
  EXPECT_EQ(refused.device.getDeviceSettings().toString(), simulatedInformation + "}");

  Connection cut(withScript({scripted("6500", "596500"), scripted("6501", "596501")}));
  ASSERT_TRUE(cut.connect());
  EXPECT_TRUE(cut.device.getParameterSetFrames());
  EXPECT_EQ(cut.device.getDeviceSettings().toString(), simulatedInformation + "}");
}

TEST(ParameterSets, DumpAnAnswerThatIsNoneAndGoOn) {
  Connection connection(withScript({scripted("6502", "59660A00FF")}));
  ASSERT_TRUE(connection.connect());
  const StreamCapture output(std::cout);
  std::cout << std::showbase << std::uppercase;
  EXPECT_TRUE(connection.device.getParameterSetFrames());
  std::cout << std::noshowbase << std::nouppercase << 255;
  EXPECT_EQ(output.text(), "DEF: 59 66 a 0 ff \n\n255");
}

TEST(ParameterSets, AreWrittenFromSettingsAndTargetInUse) {
  Connection connection;
  ASSERT_TRUE(connection.connect());
  ASSERT_TRUE(connection.enter(BXSerialCom::TRANSFER));
  connection.device.setDeviceSettings(
      parsed(R"({"Mounting":"BELOW","ArrowButtonsEnabled":false,"UseZeroing":true,"RegisterAllTriggers":false,)"
             R"("TargetReceiverHitIndicationBeam":false,"SleepWakeUp":false,"GraphicDisplay":false,)"
             R"("HitSoundBuzzer":true,"LockArrows":true})"));
  connection.device.setSessionSettings(
      parsed(R"({"isInFieldMode":false,"NumberOfBullets":10,"WakeupAngle":300,"ShotRejectionAngle":-1,)"
             R"("SleepTimeout":2.9,"TriggerSensitivity":5,"CockingDelay":1.25})"));
  const LogCapture log;

  EXPECT_TRUE(connection.device.setParameterSetFrames());

  EXPECT_THAT(connection.sent("64"),
              ElementsAre("64000301010000000000000000000000000069", "64010C20FFFF000A2CFF02050C0000000000D7",
                          "64020C20FFFF000A2CFF02050C0000000000D8", "6483FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFD7"));
  EXPECT_THAT(LogCapture::texts(),
              ElementsAre("USE ZEROING", "1", "SET PARAM SET FRAMESE STARTUP FUNC - 0x01", "CLASSIC - RING NUM:", "255",
                          "CLASSIC - SILHOUETTE NUM:", "255", "Number of Prisms - classic:", "0",
                          "Dynamic - RING NUM:", "255", "Dynamic - SIL NUM:", "255", "Number of Prisms - dynamic:", "0",
                          "Set Param Frame 3", "Set Param Frame 3 - success"));
}

TEST(ParameterSets, AreWrittenFromEmptyDocumentsAndStopAtARefusal) {
  Connection connection(withScript({refusing("6402")}));
  ASSERT_TRUE(connection.connect());
  ASSERT_TRUE(connection.enter(BXSerialCom::TRANSFER));
  Json ring = parsed(R"({"RingTargetNumber":263,"NumberOfPrisms":258})");
  ASSERT_TRUE(connection.device.uploadRingTarget(ring));  // target 7 of the device, 2 prisms
  connection.device.setDeviceSettings(Json());
  const LogCapture log;

  EXPECT_FALSE(connection.device.setParameterSetFrames());

  EXPECT_THAT(connection.sent("64"),
              ElementsAre("64001001020000000000000000000000000077", "64011E2107FF02FFFFFFFFFF000000000000A7",
                          "64021E2107FF02FFFFFFFFFF000000000000A8"));
  EXPECT_THAT(LogCapture::texts(), testing::Contains("SET PARAM SET FRAMESE STARTUP FUNC - 0x02"));
  EXPECT_THAT(LogCapture::texts(), testing::Contains("263"));
}

TEST(Stream, AddsARecordForEachPayloadAndStopsWhenTold) {
  const std::string cutShot = shotPayload.substr(0, shotPayload.size() - 2);
  Connection connection(streaming({shotPayload, "CA41", cutShot, "CA65" + std::string(30, '0'), "CA"}));
  ASSERT_TRUE(connection.connect());
  const StreamCapture quiet(std::cout);
  const LogCapture log;
  connection.device.startThread();
  ASSERT_TRUE(connection.simulator.awaitTranscript("< CA", 5));
  connection.stop();

  EXPECT_THAT(LogCapture::texts(),
              testing::IsSupersetOf({"START THREAD!!!", "STREAM CALLBACK SET", "RESET AIM TIMER"}));
  EXPECT_THAT(connection.sent("6F"), ElementsAre("6F0271", "6F0372", "6F0473"));
  ASSERT_EQ(connection.device.trainingFrameCount(), 5U);
  const auto records = connection.device.getTrainingFrames();
  EXPECT_THAT(records[0].toString(), testing::HasSubstr(R"("ShotNumber":9)"));
  EXPECT_EQ(records[1].toString(), "{}");
  EXPECT_EQ(records[2].toString(), "{}");
  EXPECT_THAT(records[3].toString(), testing::HasSubstr(R"("TiltInDegrees":0)"));
  EXPECT_EQ(records[4].toString(), "{}");
  EXPECT_THAT(connection.device.getTrainingFrames(), SizeIs(5));  // they stay when nothing streams
  connection.device.clearTrainingFrames();
  EXPECT_THAT(connection.device.getTrainingFrames(), IsEmpty());
}

TEST(Stream, IsFetchedInPiecesWithoutLossWhileItRuns) {
  Connection connection(streaming(std::vector<std::string>(200, "CA41")));
  ASSERT_TRUE(connection.connect());
  connection.device.setSessionSettings(parsed(R"({"isInFieldMode":false})"));
  connection.device.startThread();
  EXPECT_THAT(connection.sent("6F01"), SizeIs(1));
  std::size_t fetched = 0;
  while (fetched < 200) fetched += connection.device.getTrainingFrames().size();
  EXPECT_EQ(fetched, 200U);
  EXPECT_THAT(connection.device.getTrainingFrames(), IsEmpty());
  connection.stop();
}

TEST(Stream, EndsByTheDeviceAndStartsAgainFromNothing) {
  Connection connection(streaming({"CA41", "CA42", "59"}));
  ASSERT_TRUE(connection.connect());
  connection.device.startThread();
  await([&] { return !connection.device.getSerialCom().getStreaming(); });
  EXPECT_EQ(connection.device.trainingFrameCount(), 2U);

  ASSERT_TRUE(connection.enter(BXSerialCom::RESTING));
  connection.device.startThread();
  await([&] { return !connection.device.getSerialCom().getStreaming(); });
  EXPECT_EQ(connection.device.trainingFrameCount(), 2U);
}

TEST(Device, KeepsItsModeUntilADifferentOneIsGranted) {
  Connection connection(withScript({refusing("6F06")}));
  ASSERT_TRUE(connection.connect());
  EXPECT_TRUE(connection.enter(BXSerialCom::INFORMATION));
  EXPECT_FALSE(connection.enter(BXSerialCom::TRANSFER));
  EXPECT_EQ(connection.device.getSerialCom().currentDeviceMode, BXSerialCom::INFORMATION);
  EXPECT_THAT(connection.sent("6F"), ElementsAre("6F0271", "6F0675"));

  connection.device.setError(false);
  connection.device.poll();
  EXPECT_THAT(connection.sent("70"), ElementsAre("7070"));
  EXPECT_FALSE(connection.device.hasError());
}

TEST(Device, CopiesClosedAndWithItsTargetAsSessionSettings) {
  Connection connection(streaming(std::vector<std::string>(500, shotPayload)));
  ASSERT_TRUE(connection.connect());
  connection.device.setTarget(parsed(R"({"TargetName":"A"})"));
  connection.device.setSessionSettings(parsed(R"({"isInFieldMode":true})"));
  const StreamCapture quiet(std::cout);
  connection.device.startThread();
  await([&] { return connection.device.trainingFrameCount() > 0; });

  BXDevice copy(connection.device);  // while it streams

  EXPECT_TRUE(copy.isDeviceInitialized());
  EXPECT_FALSE(copy.getSerialCom().isConnected());
  EXPECT_EQ(copy.getDeviceSettings().toString(), connection.device.getDeviceSettings().toString());
  EXPECT_EQ(copy.getTarget().toString(), R"({"TargetName":"A"})");
  EXPECT_EQ(copy.getSessionSettings().toString(), R"({"TargetName":"A"})");
  EXPECT_EQ(copy.trainingFrameCount(), 0U);
  connection.stop();
  connection.device.disconnectDevice();
  EXPECT_TRUE(copy.connectDevice(true));  // it knows the port
}

TEST(Device, ForgetsItsDocumentsWhenDisconnectedButNotItsSession) {
  Connection connection;
  ASSERT_TRUE(connection.connect());
  Json ring = parsed(R"({"RingTargetNumber":3})");
  connection.device.setTarget(ring);
  connection.device.setSessionSettings(parsed(R"({"NumberOfBullets":5})"));
  ASSERT_TRUE(connection.enter(BXSerialCom::TRANSFER));
  ASSERT_TRUE(connection.device.uploadRingTarget(ring));
  connection.device.disconnectDevice();
  EXPECT_EQ(connection.device.getDeviceSettings().toString(), "{}");
  EXPECT_EQ(connection.device.getTarget().toString(), "{}");
  EXPECT_THAT(connection.device.getAllTargets(), IsEmpty());
  EXPECT_EQ(connection.device.getSessionSettings().toString(), R"({"NumberOfBullets":5})");
  EXPECT_TRUE(connection.device.isDeviceInitialized());
  EXPECT_EQ(connection.device.getTargetType(), "");
}

TEST(DebugHook, KeepsNothingThatAHostInstalls) {
  SetDebugFunction([](const char*) { FAIL() << "the hook was called"; });
  log("text");
  SetDebugFunction(nullptr);
  log(std::string("text"));
}

}  // namespace
}  // namespace BX::test
