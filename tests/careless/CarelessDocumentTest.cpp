// Documents of a careless host through every operation of the manager that takes one: what travels is what the rules
// for missing keys and cut numbers make of them, to the byte, and nothing else happens.
#include <gtest/gtest.h>

#include <iterator>
#include <limits>
#include <sstream>

#include "bx/BXDeviceManager.h"
#include "morva/KeyedAccess.h"
#include "tests/json/Parsed.h"
#include "tests/support/Hex.h"
#include "tests/support/LoopbackDevice.h"

namespace BX::test {
namespace {

using Limits = std::numeric_limits<double>;
using Payloads = std::vector<std::string>;

std::vector<std::string> keys() {
  std::istringstream words(
      "Mounting ArrowButtonsEnabled UseZeroing RegisterAllTriggers SleepWakeUp GraphicDisplay HitSoundBuzzer "
      "EvaluateSilhouette CountRingScore isInFieldMode NumberOfBullets WakeupAngle ShotRejectionAngle SleepTimeout "
      "TriggerSensitivity CockingDelay LockArrows TargetReceiverHitIndicationBeam RingTargetNumber "
      "SilhouetteTargetNumber TargetName TargetType NominalShootingDistanceUnit NominalDistance RingGapUnitType "
      "RingsGapsUnit CaliberUnit Caliber TargetWidth TargetHeight PrismPlaceX PrismPlaceY NumberOfPrisms HighestRing "
      "MinimumRing HIBMinScore DiameterInnerWhite DiameterBlackArea HitRingGap DiameterX DiameterHighestRing "
      "DiameterVariableHminus1 DiameterVariableHminus2 DiameterVariableHminus3");
  return {std::istream_iterator<std::string>(words), {}};
}

// A document in which every key has this value.
Json filled(const std::string& value) {
  std::string text;
  for (const auto& key : keys()) text += (text.empty() ? "{\"" : ",\"") + key + "\":" + value;
  return parsed(text + "}");
}
Json filled(double value) {
  Json document;
  for (const auto& key : keys()) setDouble(document, key, value);
  return document;
}

std::string sealed(const std::string& payload) {
  std::uint8_t sum = 0;
  for (const auto byte : bytesOf(payload)) sum = static_cast<std::uint8_t>(sum + byte);
  return payload + hexOf(std::vector{sum});
}

std::string nested(std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); }

// A connected device and its host.
struct Lane : LoopbackDevice {
  Lane() {
    manager.addDevice(port, "");
    manager.connectDevice(port, true);
  }
  void create(const std::string& type, Json target) { EXPECT_TRUE(manager.createTargetOnDevice(port, type, target)); }

  BXDeviceManager manager;
};

// The first frame of each kind that carries what a document says: device, mode, header, diameters, silhouette.
Payloads framesOf(const Json& document) {
  Lane lane;
  EXPECT_TRUE(lane.manager.setSessionSettings(lane.port, document));
  EXPECT_TRUE(lane.manager.setupDeviceSettings(lane.port, document));
  const auto settings = lane.sent("64");
  EXPECT_EQ(settings.size(), 4U);
  lane.create("RING", document);
  lane.create("anything else", document);
  const auto ring = lane.sent("6C");
  EXPECT_EQ(ring.size(), 4U);
  return {settings.at(0), settings.at(1), ring.at(0), ring.at(1), lane.sent("66").at(0)};
}

// Booleans are true, integers 2147483647, numbers the largest double, texts empty.
const Payloads allMissing = {"64001001020000000000000000000000000077", "64011C21FFFF00FFFFFFFFFF0000000000009B",
                             "6CFF00F102FFF60000FFFFF600FFFFFFFFFFFF41", "6CFF01FF9CFF9CFF9CFF9CFF9CFF9CFF9CFF9C44",
                             "66FF005001FFF6000000000000FFF6FFFFFFFF9C"};
// Booleans are false (and what must not be all off is not), numbers zero.
const Payloads allZero = {"64000000010000000000000000000000000065", "64010C00FFFF0000000000000000000000006F",
                          "6C0000F10200000000000000000000000000005F", "6C0001000000000000000000000000000000006D",
                          "66000050010000000000000000000000000000B7"};
// Booleans are true, numbers one, which as a double only a number is.
const Payloads allOne = {"64001001020000000000000000000000000077", "64011C21FFFF000101010101000000000000A5",
                         "6C0100F102000A000001010A000101000100017A", "6C0101006400640064006400640064006400648E",
                         "6601005001000A000000000000000A00010001CE"};
// Booleans are true, and the smallest integer ends in zeros.
const Payloads allBeyond = {allMissing[0], "64011C21FFFF000000000000000000000000A0", allZero[2], allZero[3],
                            allZero[4]};

TEST(CarelessDocument, TravelsAsTheRulesHaveIt) {
  const std::pair<Json, Payloads> table[] = {
      {Json(), allMissing},
      {parsed(R"([{"Mounting":"LEFT"}])"), allMissing},
      {filled(R"("1")"), allMissing},
      {filled(R"({"Mounting":"LEFT"})"), allMissing},
      {filled("false"), allZero},
      {filled("true"), allOne},
      {filled("4294967297"), allOne},
      {filled("-1"),
       {allMissing[0], "64011C21FFFF00FFFFFFFFFFF6000000000091", "6CFF00F102FFF6FC18FFFFF600FFFFFFFFFFFF55",
        allMissing[3], allMissing[4]}},
      {filled("9.99"),
       {allMissing[0], "64011C21FFFF00090909090963000000000030", "6C0900F102005A270609095A000909000900097F",
        "6C090103840384038403840384038403840384AE", "6609005001005A000000000000005A0009000986"}},
      {filled("-1e300"), allBeyond},
      {filled(Limits::infinity()), allBeyond},
      {filled(Limits::quiet_NaN()), allBeyond}};
  for (const auto& [document, frames] : table) EXPECT_EQ(framesOf(document), frames) << document.toString();
}

TEST(CarelessNesting, OfTenThousandCountsAsAWrongType) {
  const std::string deep = nested(10'000);
  EXPECT_EQ(framesOf(parsed(deep)), allMissing);
  EXPECT_EQ(framesOf(filled(deep)), allMissing);
  // As a bitmap it is one row with one pixel, which is no number.
  Lane lane;
  lane.create("SILHOUETTE", parsed(R"({"SilhouetteTarget":)" + deep + "}"));
  EXPECT_EQ(lane.sent("663F"), Payloads{sealed("663F00C0")});
}

TEST(CarelessText, TravelsByteByByte) {
  const std::pair<const char*, std::string> table[] = {{"\xFF\xFE\xC3(", "FFFEC328"},
                                                       {"\xED\xA0\x80", "EDA080"},
                                                       {R"(a\u0000b)", "610062"},
                                                       {R"(\n\"\\)", "0A225C"},
                                                       {R"(\ud83d\ude00)", "F09F9880"}};
  for (const auto& [name, bytes] : table) {
    Lane lane;
    const Json target =
        parsed(R"({"RingTargetNumber":1,"SilhouetteTargetNumber":1,"TargetName":")" + std::string(name) + "\"}");
    const std::string padded = bytes + std::string(2 * 16 - bytes.size(), '0');
    lane.create("RING", target);
    EXPECT_EQ(lane.sent("6C0183"), Payloads{sealed("6C0183" + padded)});
    lane.create("SILHOUETTE", target);
    EXPECT_EQ(lane.sent("660101"), Payloads{sealed("660101" + padded)});
  }
}

TEST(CarelessBitmap, SendsEveryRowAsItIs) {
  Lane lane;
  lane.create("SILHOUETTE", parsed(R"({"SilhouetteTargetNumber":1,"SilhouetteTarget":[[],[1,2,3],7,{"0":[1]},
    [0,4,-1,4294967297,true,null,0.9,1e300,"x"]]})"));
  // Pixels spill into their neighbours; what is no number reads as 2147483647.
  EXPECT_EQ(lane.sent("6641"), (Payloads{sealed("664100"), sealed("6641016C"), sealed("664102"), sealed("664103"),
                                         sealed("664104FDF0C0")}));
}

}  // namespace
}  // namespace BX::test
