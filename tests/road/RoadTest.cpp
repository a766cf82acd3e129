// The main job, end to end: the real programs on a real pseudo-terminal.
#include <gmock/gmock.h>
#include <signal.h>

#include <random>

#include "Program.h"
#include "morva/KeyedAccess.h"
#include "tests/support/Hex.h"

namespace BX::test {
namespace {

using Json = MORVA::MORVADataTypeJSON;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

Json parse(const std::string& text) {
  Json document;
  EXPECT_TRUE(document.parseString(text)) << text;
  return document;
}

std::vector<std::string> withPrefix(const std::string& path, const std::string& prefix) {
  std::vector<std::string> lines;
  for (const auto& line : linesOf(readFile(path))) {
    if (line.starts_with(prefix)) lines.push_back(line);
  }
  return lines;
}

// Measurements and shots that carry their index, and payloads that are no records.
std::string randomPayload(std::mt19937& random, unsigned index) {
  std::vector<std::uint8_t> bytes(std::uniform_int_distribution<std::size_t>(1, 60)(random));
  for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random());
  if (bytes[0] == 0x59) bytes[0] = 0;  // would end the stream
  if (index % 4 != 0) {
    bytes.resize(34);
    bytes[0] = 0xCA;
    bytes[1] = index % 8 == 1 ? 0x6A : 0x65;
    bytes[8] = static_cast<std::uint8_t>(index >> 8);
    bytes[9] = static_cast<std::uint8_t>(index);
  }
  return hexOf(bytes);
}

TEST(Road, EveryStreamedPayloadIsOneLineInOrderUntilInterrupted) {
  constexpr unsigned count = 5000;
  std::mt19937 random(20);
  std::string payloads;
  for (unsigned i = 0; i < count; ++i) payloads += randomPayload(random, i) + "\n";
  const Folder folder;
  const Device device({"--rate", "2000", "--stream", folder.write("stream.txt", payloads)});
  Program train(bxCommand({"train", device.port()}));
  ASSERT_THAT(train.awaitLines(count), SizeIs(count));
  train.send(SIGINT);
  const Outcome outcome = train.await();
  EXPECT_EQ(outcome.status, 0);
  const auto lines = linesOf(outcome.out);
  ASSERT_THAT(lines, SizeIs(count));
  for (unsigned i = 0; i < count; ++i) {
    if (i % 4 == 0) continue;
    ASSERT_EQ(MORVA::getInteger(parse(lines[i]), "Tilt"), static_cast<int>(i)) << lines[i];
  }
}

TEST(Road, ForcedSettingsReachTheWireAsTheLibraryMakesThem) {
  const Folder folder;
  const Device device({"--transcript", folder.path("transcript")});
  const Outcome outcome =
      bx({"settings", device.port(), "--force", "--device",
          folder.write("device.json", R"({"Mounting": "BELOW", "ArrowButtonsEnabled": true, "UseZeroing": false,
             "RegisterAllTriggers": true, "TargetReceiverHitIndicationBeam": false, "SleepWakeUp": 0,
             "GraphicDisplay": false})"),
          "--session",
          folder.write("session.json",
                       R"({"isInFieldMode": false, "NumberOfBullets": 300, "WakeupAngle": 5, "CockingDelay": 1.25})")});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(withPrefix(folder.path("transcript"), "> 64"),
              ElementsAre("> 64001300010000000000000000000000000078", "> 64010420FFFF002C05FFFFFF0C0000000000C1",
                          "> 64020420FFFF002C05FFFFFF0C0000000000C2", "> 6483FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFD7"));
  EXPECT_THAT(outcome.err, HasSubstr("\"NumberOfBullets\" 300 does not fit the wire"));
  EXPECT_THAT(outcome.err, HasSubstr("\"HitSoundBuzzer\": the library takes true"));
  ASSERT_THAT(linesOf(outcome.out), SizeIs(1));
  EXPECT_EQ(MORVA::getText(parse(outcome.out), "Mounting"), "BELOW");
}

TEST(Road, WithoutFilesSettingsWritesNothingAndPrintsWhatInfoPrints) {
  const Folder folder;
  const Device device({"--transcript", folder.path("transcript")});
  const Outcome settings = bx({"settings", device.port()});
  const Outcome info = bx({"info", device.port()});
  EXPECT_EQ(settings.status, 0);
  EXPECT_EQ(settings.out, info.out);
  EXPECT_THAT(info.err, IsEmpty());
  EXPECT_NE(MORVA::getText(parse(info.out), "SerialNumber"), "");
  EXPECT_THAT(withPrefix(folder.path("transcript"), "> 64"), IsEmpty());
}

TEST(Road, WithoutDeviceSettingsThoseThatWereReadAreWrittenBack) {
  const Folder folder;
  const Device device({"--transcript", folder.path("transcript")});
  const Outcome outcome = bx({"settings", device.port(), "--session", folder.write("s.json", "{}")});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(withPrefix(folder.path("transcript"), "> 64"), SizeIs(4));
  EXPECT_THAT(outcome.err, HasSubstr("missing \"UseZeroing\", \"GraphicDisplay\", \"HitSoundBuzzer\""));
}

Json withoutAimingTime(const std::string& line) {
  Json record = parse(line);
  record.getDocument().RemoveMember("aimingTime");
  return record;
}

TEST(Road, ATargetASessionAndItsStoredRecords) {
  const Folder folder;
  const Device device({"--rate", "2000"});
  const std::string& port = device.port();
  const std::string examples = std::string(BX_SOURCE_DIR) + "/examples/";
  ASSERT_EQ(bx({"target", port, examples + "ring-300m-rifle.json"}).status, 0);
  const Json face = parse(readFile(examples + "ring-300m-rifle.json"));
  const std::string number = std::to_string(MORVA::getInteger(face, "RingTargetNumber"));
  const Json stored = parse(bx({"target", port, "--get", number}).out);
  for (const auto* key : {"RingTargetNumber", "NominalDistance", "DiameterBlackArea", "DiameterHighestRing"}) {
    EXPECT_EQ(MORVA::getInteger(stored, key), MORVA::getInteger(face, key)) << key;
  }

  const Outcome trained = bx({"train", port, "--shots", "3", "--device", examples + "device-settings.json", "--session",
                              examples + "session-settings.json", "--target", examples + "ring-300m-rifle.json",
                              "--output", folder.path("session.jsonl")});
  ASSERT_EQ(trained.status, 0) << trained.err;
  EXPECT_THAT(trained.out, IsEmpty());
  const auto session = linesOf(readFile(folder.path("session.jsonl")));
  ASSERT_GT(session.size(), 3U);
  const Json header = parse(session.front());
  EXPECT_EQ(MORVA::getText(header, "port"), port);
  EXPECT_EQ(MORVA::getDocument(header, "target").toString(), face.toString());
  EXPECT_EQ(MORVA::getInteger(parse(session.back()), "ShotNumber"), 3);

  const Outcome downloaded = bx({"download", port});
  ASSERT_EQ(downloaded.status, 0) << downloaded.err;
  const auto records = linesOf(downloaded.out);
  ASSERT_GE(records.size(), session.size() - 1);
  for (std::size_t i = 1; i < session.size(); ++i) {
    ASSERT_EQ(withoutAimingTime(records[i - 1]).toString(), withoutAimingTime(session[i]).toString()) << i;
  }

  EXPECT_EQ(bx({"clear", port}).status, 0);
  const Outcome nothing = bx({"download", port});
  EXPECT_EQ(nothing.status, 0);
  EXPECT_THAT(nothing.out, IsEmpty());
}

TEST(Road, TrainingEndsWithItsTimeAndWithItsReader) {
  const Device device;
  const Outcome timed = bx({"train", device.port(), "--seconds", "0.1", "--quiet"});
  EXPECT_EQ(timed.status, 0);
  EXPECT_THAT(timed.err, IsEmpty());
  Program piped({"bash", "-c", "set -o pipefail; \"$@\" | head -1", "bash", BX_PROGRAM, "train", device.port(),
                 "--skip-startup"});
  const Outcome outcome = piped.await();
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(linesOf(outcome.out), SizeIs(1));
}

TEST(Road, TheDemonstrationWalksTheWholeRoad) {
  const Outcome outcome = bx({"demo", "--shots", "1"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  for (const auto* step : {"Connected", "Configured", "Training", "Streamed", "Downloaded", "Cleared", "Done"}) {
    EXPECT_THAT(outcome.out, HasSubstr(step));
  }
  EXPECT_THAT(outcome.err, IsEmpty());
}

TEST(Road, VerboseShowsTheLibrarysOwnLinesOnStandardError) {
  const Device device({"--rate", "2000"});
  const Outcome outcome = bx({"train", device.port(), "--shots", "1", "--verbose"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.err, HasSubstr(device.port() + ": {"));
  EXPECT_THAT(outcome.out, Not(HasSubstr(device.port())));
}

}  // namespace
}  // namespace BX::test
