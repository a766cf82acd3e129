// The main job, end to end: the real programs on a real pseudo-terminal.
#include <gmock/gmock.h>
#include <signal.h>

#include <array>
#include <random>

#include "Program.h"
#include "morva/KeyedAccess.h"
#include "tests/json/Parsed.h"
#include "tests/support/Hex.h"

namespace BX::test {
namespace {

using MORVA::getInteger;
using ::testing::_;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;

const std::string examples = std::string(BX_SOURCE_DIR) + "/examples/";

// A shot, a measurement or no record, with its number as the tilt, and any bytes else.
std::string randomPayload(std::mt19937& random, unsigned number) {
  constexpr std::array<std::uint8_t, 3> kinds = {0x6A, 0x65, 0x00};
  std::vector<std::uint8_t> bytes(34);
  for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random());
  bytes[0] = 0xCA;
  bytes[1] = kinds[number % 3];
  bytes[8] = static_cast<std::uint8_t>(number >> 8);
  bytes[9] = static_cast<std::uint8_t>(number);
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
    if (i % 3 == 2) continue;
    ASSERT_EQ(getInteger(parsed(lines[i]), "Tilt"), static_cast<int>(i)) << lines[i];
  }
}

TEST(Road, SettingsAreWrittenForFilesOnlyAndPrintedAsInfoPrintsThem) {
  const Folder folder;
  const Device device({"--transcript", folder.path("transcript")});
  const auto framesWritten = [&] {
    auto lines = linesOf(readFile(folder.path("transcript")));
    std::erase_if(lines, [](const std::string& line) { return !line.starts_with("> 64"); });
    return lines;
  };
  const Outcome info = bx({"info", device.port()});
  EXPECT_THAT(info.err, IsEmpty());
  EXPECT_NE(MORVA::getText(parsed(info.out), "SerialNumber"), "");
  EXPECT_EQ(bx({"settings", device.port()}).out, info.out);
  EXPECT_THAT(framesWritten(), IsEmpty());

  // Forced upon the wire as the library makes them, with the device settings that were read.
  const auto file = folder.write("session.json", R"({"isInFieldMode": false, "NumberOfBullets": 300})");
  const Outcome forced = bx({"settings", device.port(), "--force", "--session", file});
  EXPECT_EQ(forced.status, 0) << forced.err;
  EXPECT_THAT(framesWritten(), ElementsAre(StartsWith("> 640010"), StartsWith("> 64011C21FFFF002C"), _, _));
  EXPECT_THAT(forced.err, AllOf(HasSubstr("\"NumberOfBullets\" 300 does not fit the wire"),
                                HasSubstr("missing \"UseZeroing\", \"GraphicDisplay\", \"HitSoundBuzzer\"")));
  EXPECT_EQ(forced.out, info.out);
}

TEST(Road, ATargetGoesUpAndComesDown) {
  const Device device;
  const std::string file = examples + "ring-300m-rifle.json";
  ASSERT_EQ(bx({"target", device.port(), file}).status, 0);
  const Json given = parsed(readFile(file));
  const auto number = std::to_string(getInteger(given, "RingTargetNumber"));
  const Json stored = parsed(bx({"target", device.port(), "--get", number}).out);
  for (const auto* key : {"RingTargetNumber", "NominalDistance", "DiameterBlackArea", "DiameterHighestRing"}) {
    EXPECT_EQ(getInteger(stored, key), getInteger(given, key)) << key;
  }
}

std::string withoutAimingTime(const std::string& line) {
  Json record = parsed(line);
  record.getDocument().RemoveMember("aimingTime");
  return record.toString();
}

TEST(Road, ASessionIsWrittenStoredDownloadedAndCleared) {
  const Folder folder;
  const Device device({"--rate", "2000"});
  const std::string& port = device.port();
  const Outcome trained = bx({"train", port, "--shots", "3", "--device", examples + "device-settings.json", "--session",
                              examples + "session-settings.json", "--target", examples + "ring-300m-rifle.json",
                              "--output", folder.path("session.jsonl")});
  ASSERT_EQ(trained.status, 0) << trained.err;
  EXPECT_THAT(trained.out, IsEmpty());
  const auto session = linesOf(readFile(folder.path("session.jsonl")));
  ASSERT_GT(session.size(), 3U);
  const Json header = parsed(session.front());
  EXPECT_EQ(MORVA::getText(header, "port"), port);
  EXPECT_EQ(MORVA::getDocument(header, "target").toString(),
            parsed(readFile(examples + "ring-300m-rifle.json")).toString());
  EXPECT_EQ(getInteger(parsed(session.back()), "ShotNumber"), 3);

  const Outcome downloaded = bx({"download", port});
  ASSERT_EQ(downloaded.status, 0) << downloaded.err;
  const auto records = linesOf(downloaded.out);
  ASSERT_GE(records.size(), session.size() - 1);
  for (std::size_t i = 1; i < session.size(); ++i) {
    ASSERT_EQ(withoutAimingTime(records[i - 1]), withoutAimingTime(session[i])) << i;
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

TEST(Road, VerboseShowsTheLibrarysOwnLinesOnStandardError) {
  const Device device({"--rate", "2000"});
  const Outcome outcome = bx({"train", device.port(), "--shots", "1", "--verbose"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.err, HasSubstr(device.port() + ": {"));
  EXPECT_THAT(outcome.out, Not(HasSubstr(device.port())));
}

TEST(Road, TheDemonstrationWalksIt) {
  const Outcome outcome = bx({"demo", "--shots", "1"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr("Done"));
  EXPECT_THAT(outcome.err, IsEmpty());
}

TEST(Road, HelpAndVersionNeedNoDevice) {
  EXPECT_EQ(bx({"train", "--help"}).status, 0);
  EXPECT_THAT(bx({"info", "--version"}).out, StartsWith("bx "));
}

}  // namespace
}  // namespace BX::test
