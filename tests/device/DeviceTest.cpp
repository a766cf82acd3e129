// A device against the simulated one: what is sent, in which order, and what comes of each answer.
#include "tests/device/DeviceTesting.h"

#include "bx/DebugHook.h"
#include "platform/DebugLog.h"
#include "tests/support/Table.h"

namespace BX::test {
namespace {

using namespace std::chrono_literals;

TEST(Connect, SendsTheSequenceWithItsWaits) {
  std::vector<std::chrono::milliseconds> waits;
  for (const bool skipStartup : {false, true}) {
    Connection connection;
    platform::replaceTime({[&](std::chrono::milliseconds duration) { waits.push_back(duration); }, {}});
    std::vector<std::string> sequence = {"7373",   "6F0271", "630063", "630265", "630366",
                                         "630467", "630568", "630164", "630669"};
    if (skipStartup) sequence.erase(sequence.begin());
    for (int i = 0; i < 2; ++i) {  // connected already: nothing is sent
      EXPECT_TRUE(connection.device.connectDevice(skipStartup));
      EXPECT_EQ(connection.sent(), sequence);
    }
    EXPECT_TRUE(connection.device.isDeviceInitialized());
    EXPECT_EQ(connection.settings(), simulatedInformation + "}");
  }
  EXPECT_THAT(waits, ElementsAre(2s, 500ms, 500ms, 500ms, 500ms));  // each device waits once more when it is destroyed
}

TEST(Connect, EndsDisconnectedWhenTheDeviceRefuses) {
  // A date that is shorter than its label fails as well.
  for (const auto& options :
       {refusing("6F02"), refusing("6300"), refusing("6306"), withScript({scripted("6304", "596304 41")})}) {
    Connection connection(options);
    EXPECT_FALSE(connection.connect()) << hexOf(options.script[0].request);
    const bool refusesMode = options.script[0].request[0] == 0x6F;
    EXPECT_EQ(connection.enter(BXSerialCom::INFORMATION), !refusesMode);  // as it is already
    EXPECT_TRUE(connection.device.hasError());
    EXPECT_FALSE(connection.device.isDeviceInitialized());
    EXPECT_FALSE(connection.device.getSerialCom().isConnected());
    EXPECT_EQ(connection.settings(), "{}");
  }
}

TEST(Connect, GoesOnWithoutStartupAndWithoutAnItemThatIsAnsweredOddly) {
  // A text has fifteen characters, or ends at a zero.
  Connection connection(withScript({scripted("73", ""), scripted("6300", "5964"), scripted("6302", "5963"),
                                    scripted("6303", "596303 303132333435363738393A3B3C3D3E 3F"),
                                    scripted("6305", "596305 54494D453A20 31 00 32")}));
  EXPECT_TRUE(connection.device.connectDevice(false));
  EXPECT_EQ(connection.settings(), R"({"Program":"0123456789:;<=>","Date":"21.11.26","Time":"1"})");
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
  EXPECT_THAT(connection.sent("65"), ElementsAre("650065", "650166", "650267", "650368", "65086D", "65096E", "651075",
                                                 "651176", "651277", "651378", "65B81D"));
  EXPECT_EQ(connection.settings(), simulatedSettings);

  connection.device.setDeviceSettings(parsed(R"({"Mounting":"LEFT","SleepWakeUp":false})"));
  ASSERT_TRUE(connection.enter(BXSerialCom::TRANSFER));
  ASSERT_TRUE(connection.device.setParameterSetFrames());
  EXPECT_TRUE(connection.device.getParameterSetFrames());
  EXPECT_THAT(connection.settings(), HasSubstr(R"("Mounting":"ABOVE")"));
  EXPECT_THAT(connection.settings(), HasSubstr(R"("SleepWakeUp":true)"));
}

TEST(ParameterSets, PassOverAnswersThatAreNone) {
  Connection connection(
      withScript({scripted("6500", "596500"), scripted("6501", "59660A00FF"), scripted("6502", "5965")}));
  ASSERT_TRUE(connection.connect());
  testing::internal::CaptureStdout();
  EXPECT_TRUE(connection.device.getParameterSetFrames());
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "DEF: 59 66 a 0 ff \n\nDEF: 59 65 \n\n");
  EXPECT_EQ(connection.settings(), simulatedInformation + "}");
}

TEST(ParameterSets, AreWrittenFromSettingsAndTargetsInUseAndFailWithAnyOfThem) {
  // Device and session settings, and the frames. In the last row a ring target is in use: 7 of the device, 2 prisms.
  for (const auto& row : rowsOf(R"(
    {} | {} | 64001001020000000000000000000000000077 64011C21FFFF00FFFFFFFFFF0000000000009B 64021C21FFFF00FFFFFFFFFF0000000000009C
    [{"Mounting":"LEFT"}] | [{"NumberOfBullets":1}] | 64001001020000000000000000000000000077 64011C21FFFF00FFFFFFFFFF0000000000009B 64021C21FFFF00FFFFFFFFFF0000000000009C
    {"Mounting":{}} | {"CockingDelay":"1"} | 64001001020000000000000000000000000077 64011C21FFFF00FFFFFFFFFF0000000000009B 64021C21FFFF00FFFFFFFFFF0000000000009C
    {"Mounting":"BELOW","ArrowButtonsEnabled":false,"UseZeroing":true,"RegisterAllTriggers":false,"TargetReceiverHitIndicationBeam":false,"SleepWakeUp":false,"GraphicDisplay":false,"HitSoundBuzzer":true,"LockArrows":true} | {"isInFieldMode":false,"NumberOfBullets":10,"WakeupAngle":300,"ShotRejectionAngle":-1,"SleepTimeout":2.9,"TriggerSensitivity":5,"CockingDelay":1.25} | 64000301010000000000000000000000000069 6401022007FF020A2CFF02050C0000000000D7 6402022007FF020A2CFF02050C0000000000D8)")) {
    Connection connection(refusing("6483"));
    ASSERT_TRUE(connection.connect() && connection.enter(BXSerialCom::TRANSFER));
    Json ring = parsed(R"({"RingTargetNumber":263,"NumberOfPrisms":258})");
    if (row[0].size() > 30) connection.device.uploadRingTarget(ring);
    connection.device.setDeviceSettings(parsed(row[0]));
    connection.device.setSessionSettings(parsed(row[1]));
    EXPECT_FALSE(connection.device.setParameterSetFrames());
    std::string frames;
    for (const auto& frame : connection.sent("64")) frames += frame + ' ';
    EXPECT_EQ(frames, row[2] + " 6483FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFD7 ");
  }
}

TEST(Stream, AddsARecordForEachPayloadAndStopsWhenTold) {
  const std::string shot = "CA6A09 00 0001 0002 0000 0000 0000 05 FF 03 00 000001 00 0000 000000 00 00";
  Connection connection(streaming({shot + "00", "CA41", shot, "CA65" + std::string(30, '0'), "CA"}));
  ASSERT_TRUE(connection.connect());
  connection.device.startThread();
  ASSERT_TRUE(connection.simulator.awaitTranscript("< CA", 5));
  connection.stop();
  EXPECT_THAT(connection.sent("6F"), ElementsAre("6F0271", "6F0372", "6F0473"));
  for (int i = 0; i < 2; ++i) {  // they stay when nothing streams
    const auto records = connection.device.getTrainingFrames();
    ASSERT_THAT(records, SizeIs(5));
    EXPECT_THAT(records[0].toString(), HasSubstr(R"("ShotNumber":9)"));
    EXPECT_THAT(records[3].toString(), HasSubstr(R"("TiltInDegrees":0)"));
    for (const std::size_t none : {1U, 2U, 4U}) EXPECT_EQ(records[none].toString(), "{}");
  }
  connection.device.clearTrainingFrames();
  EXPECT_THAT(connection.device.getTrainingFrames(), IsEmpty());
}

TEST(Stream, EndsByTheDeviceAndStartsAgainFromNothing) {
  Connection connection(streaming({"CA41", "CA42", "59"}));
  ASSERT_TRUE(connection.connect());
  connection.device.setSessionSettings(parsed(R"({"isInFieldMode":false})"));
  for (std::size_t i = 1; i <= 2; ++i) {
    connection.device.startThread();
    EXPECT_THAT(connection.sent("6F01"), SizeIs(i));
    connection.awaitEndOfStream();
    EXPECT_EQ(connection.device.trainingFrameCount(), 2U);
    ASSERT_TRUE(connection.enter(BXSerialCom::RESTING));
  }
}

TEST(Device, CopiesClosedAndForgetsAllButItsSessionWhenDisconnected) {
  Connection connection;
  ASSERT_TRUE(connection.connect());
  Json ring = parsed(R"({"RingTargetNumber":3})");
  connection.device.setTarget(ring);
  connection.device.setSessionSettings(parsed(R"({"NumberOfBullets":5})"));
  ASSERT_TRUE(connection.enter(BXSerialCom::TRANSFER));
  ASSERT_TRUE(connection.device.uploadRingTarget(ring));
  BXDevice copy(connection.device);
  EXPECT_TRUE(copy.isDeviceInitialized());
  EXPECT_FALSE(copy.getSerialCom().isConnected());
  EXPECT_EQ(copy.getDeviceSettings().toString(), connection.settings());
  for (const auto& document : {copy.getTarget(), copy.getSessionSettings(), copy.getAllTargets().at(0)}) {
    EXPECT_EQ(document.toString(), ring.toString());
  }
  connection.device.disconnectDevice();
  EXPECT_EQ(connection.settings(), "{}");
  EXPECT_EQ(connection.device.getTarget().toString(), "{}");
  EXPECT_THAT(connection.device.getAllTargets(), IsEmpty());
  EXPECT_EQ(connection.device.getSessionSettings().toString(), R"({"NumberOfBullets":5})");
  EXPECT_TRUE(connection.device.isDeviceInitialized());
  EXPECT_TRUE(copy.connectDevice(true));  // it knows the port
}

TEST(DebugHook, KeepsNothingThatAHostInstalls) {
  SetDebugFunction([](const char*) { FAIL() << "the hook was called"; });
  log("text");
}

}  // namespace
}  // namespace BX::test
