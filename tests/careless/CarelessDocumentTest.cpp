// Documents of a careless host through every operation of the manager that takes one: what travels is what the rules
// for missing keys and cut numbers make of them, to the byte, and nothing else happens.
#include <gtest/gtest.h>

#include <array>
#include <limits>

#include "bx/BXDeviceManager.h"
#include "morva/KeyedAccess.h"
#include "tests/support/Hex.h"
#include "tests/support/LoopbackDevice.h"

namespace BX::test {
namespace {

using Json = MORVA::MORVADataTypeJSON;

constexpr std::array deviceKeys = {"Mounting",      "ArrowButtonsEnabled", "UseZeroing",     "RegisterAllTriggers",
                                   "SleepWakeUp",   "GraphicDisplay",      "HitSoundBuzzer", "EvaluateSilhouette",
                                   "CountRingScore"};
constexpr std::array sessionKeys = {"isInFieldMode",      "NumberOfBullets", "WakeupAngle",
                                    "ShotRejectionAngle", "SleepTimeout",    "TriggerSensitivity",
                                    "CockingDelay",       "LockArrows",      "TargetReceiverHitIndicationBeam"};
constexpr std::array targetKeys = {"RingTargetNumber",
                                   "SilhouetteTargetNumber",
                                   "TargetName",
                                   "TargetType",
                                   "NominalShootingDistanceUnit",
                                   "NominalDistance",
                                   "RingGapUnitType",
                                   "RingsGapsUnit",
                                   "CaliberUnit",
                                   "Caliber",
                                   "TargetWidth",
                                   "TargetHeight",
                                   "PrismPlaceX",
                                   "PrismPlaceY",
                                   "NumberOfPrisms",
                                   "HighestRing",
                                   "MinimumRing",
                                   "HIBMinScore",
                                   "DiameterInnerWhite",
                                   "DiameterBlackArea",
                                   "HitRingGap",
                                   "DiameterX",
                                   "DiameterHighestRing",
                                   "DiameterVariableHminus1",
                                   "DiameterVariableHminus2",
                                   "DiameterVariableHminus3"};

template <typename Visit>
void forEachKey(const Visit& visit) {
  for (const auto* key : deviceKeys) visit(std::string(key));
  for (const auto* key : sessionKeys) visit(std::string(key));
  for (const auto* key : targetKeys) visit(std::string(key));
}

Json parsed(const std::string& text) {
  Json document;
  if (!document.parseString(text)) throw std::runtime_error("not JSON");
  return document;
}

// A document in which every key has this value.
Json filled(const std::string& value) {
  std::string text;
  forEachKey([&](const std::string& key) { text += (text.empty() ? "{\"" : ",\"") + key + "\":" + value; });
  return parsed(text + "}");
}
Json filled(double value) {
  Json document;
  forEachKey([&](const std::string& key) { setDouble(document, key, value); });
  return document;
}

std::string sealed(std::string payload) {
  unsigned sum = 0;
  for (const auto byte : bytesOf(payload)) sum += byte;
  const std::array low{static_cast<std::uint8_t>(sum)};
  return payload + hexOf(low);
}

// A connected device, its host, and what the wire has carried.
class Lane {
 public:
  Lane() {
    manager.addDevice(far.port, "");
    manager.connectDevice(far.port, true);
  }

  // The payloads that begin with `prefix`.
  std::vector<std::string> sent(const std::string& prefix) const { return far.sent(prefix); }

  LoopbackDevice far;
  BXDeviceManager manager;
};

// The first frame of each kind that carries what a document says.
struct Frames {
  std::string device, mode, header, diameters, silhouette;
  bool operator==(const Frames&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Frames& frames) {
  return out << frames.device << ' ' << frames.mode << ' ' << frames.header << ' ' << frames.diameters << ' '
             << frames.silhouette;
}

Frames framesOf(const Json& document) {
  Lane lane;
  EXPECT_TRUE(lane.manager.setSessionSettings(lane.far.port, document));
  EXPECT_TRUE(lane.manager.setupDeviceSettings(lane.far.port, document));
  EXPECT_EQ(lane.sent("64").size(), 4U);
  lane.manager.setDeviceSettings(lane.far.port, document);
  const auto settings = lane.sent("64");
  EXPECT_EQ(settings.size(), 8U);
  EXPECT_EQ(std::vector(settings.begin(), settings.begin() + 4), std::vector(settings.begin() + 4, settings.end()));

  Json target = document;
  EXPECT_TRUE(lane.manager.createTargetOnDevice(lane.far.port, "RING", target));
  EXPECT_TRUE(lane.manager.createTargetOnDevice(lane.far.port, "anything else", target));
  EXPECT_EQ(lane.sent("6C").size(), 4U);
  return {settings.at(0), settings.at(1), lane.sent("6C").at(0), lane.sent("6C").at(1), lane.sent("66").at(0)};
}

// Booleans are true, integers 2147483647, numbers the largest double, texts empty.
const Frames allMissing = {"64001001020000000000000000000000000077", "64011C21FFFF00FFFFFFFFFF0000000000009B",
                           "6CFF00F102FFF60000FFFFF600FFFFFFFFFFFF41", "6CFF01FF9CFF9CFF9CFF9CFF9CFF9CFF9CFF9C44",
                           "66FF005001FFF6000000000000FFF6FFFFFFFF9C"};
// Booleans are false (and what must not be all off is not), numbers zero.
const Frames allZero = {"64000000010000000000000000000000000065", "64010C00FFFF0000000000000000000000006F",
                        "6C0000F10200000000000000000000000000005F", "6C0001000000000000000000000000000000006D",
                        "66000050010000000000000000000000000000B7"};
// Booleans are true, numbers one, which as a double only a number is.
const Frames allOne = {"64001001020000000000000000000000000077", "64011C21FFFF000101010101000000000000A5",
                       "6C0100F102000A000001010A000101000100017A", "6C0101006400640064006400640064006400648E",
                       "6601005001000A000000000000000A00010001CE"};
// Booleans are true, and the smallest integer ends in zeros.
const Frames allBeyond = {allMissing.device, "64011C21FFFF000000000000000000000000A0", allZero.header,
                          allZero.diameters, allZero.silhouette};

struct Case {
  std::string name;
  Json document;
  Frames frames;
};

std::vector<Case> cases() {
  using Limits = std::numeric_limits<double>;
  return {{"empty", Json(), allMissing},
          {"null", filled("null"), allMissing},
          {"text", filled("\"text\""), allMissing},
          {"numeral", filled("\"1\""), allMissing},
          {"array", filled("[1,2,3]"), allMissing},
          {"object", filled("{\"Mounting\":\"LEFT\"}"), allMissing},
          {"arrayRoot", parsed("[{\"Mounting\":\"LEFT\"}]"), allMissing},
          {"textRoot", parsed("\"RING\""), allMissing},
          {"nullRoot", parsed("null"), allMissing},
          {"false", filled("false"), allZero},
          {"zero", filled("0"), allZero},
          {"negativeZero", filled("-0.0"), allZero},
          {"true", filled("true"), allOne},
          {"beyond32Bits", filled("4294967297"), allOne},
          {"all64Bits", filled("18446744073709551615"), allMissing},
          {"negative",
           filled("-1"),
           {allMissing.device, "64011C21FFFF00FFFFFFFFFFF6000000000091", "6CFF00F102FFF6FC18FFFFF600FFFFFFFFFFFF55",
            allMissing.diameters, allMissing.silhouette}},
          {"half",
           filled("0.5"),
           {allMissing.device, "64011C21FFFF000000000000050000000000A5", "6C0000F102000001F40000000000000000000054",
            allZero.diameters, allZero.silhouette}},
          {"almostTen",
           filled("9.99"),
           {allMissing.device, "64011C21FFFF00090909090963000000000030", "6C0900F102005A270609095A000909000900097F",
            "6C090103840384038403840384038403840384AE", "6609005001005A000000000000005A0009000986"}},
          {"justBeyond", filled("2147483648.5"), allBeyond},
          {"farBelow", filled("-1e300"), allBeyond},
          {"infinity", filled(Limits::infinity()), allBeyond},
          {"minusInfinity", filled(-Limits::infinity()), allBeyond},
          {"notANumber", filled(Limits::quiet_NaN()), allBeyond}};
}

class CarelessDocument : public testing::TestWithParam<Case> {};

TEST_P(CarelessDocument, TravelsAsTheRulesHaveIt) { EXPECT_EQ(framesOf(GetParam().document), GetParam().frames); }

INSTANTIATE_TEST_SUITE_P(, CarelessDocument, testing::ValuesIn(cases()),
                         [](const auto& param) { return param.param.name; });

std::string nested(std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); }

TEST(CarelessNesting, OfTenThousandCountsAsAWrongType) {
  constexpr std::size_t depth = 10'000;
  EXPECT_EQ(framesOf(parsed(nested(depth))), allMissing);
  EXPECT_EQ(framesOf(filled(nested(depth))), allMissing);
  Json objects = parsed("{}");
  for (std::size_t i = 0; i < 100; ++i) {
    Json outer;
    setDocument(outer, "Mounting", objects);
    objects = outer;
  }
  EXPECT_EQ(framesOf(objects), allMissing);

  // As a bitmap it is one row with one pixel, which is no number.
  Lane lane;
  Json target = parsed("{\"SilhouetteTarget\":" + nested(depth) + "}");
  EXPECT_TRUE(lane.manager.createTargetOnDevice(lane.far.port, "SILHOUETTE", target));
  EXPECT_EQ(lane.sent("663F"), std::vector{sealed("663F00C0")});
}

TEST(CarelessText, TravelsByteByByte) {
  const struct {
    std::string name;
    std::string bytes;
  } table[] = {{"\xFF\xFE\xC3(", "FFFEC328"},
               {"\xED\xA0\x80", "EDA080"},
               {R"(a\u0000b)", "610062"},
               {R"(\n\"\\)", "0A225C"},
               {R"(\ud83d\ude00)", "F09F9880"}};
  for (const auto& [name, bytes] : table) {
    Lane lane;
    Json target = parsed(R"({"RingTargetNumber":1,"SilhouetteTargetNumber":1,"TargetName":")" + name + "\"}");
    const std::string padded = bytes + std::string(2 * 16 - bytes.size(), '0');
    EXPECT_TRUE(lane.manager.createTargetOnDevice(lane.far.port, "RING", target));
    EXPECT_EQ(lane.sent("6C0183"), std::vector{sealed("6C0183" + padded)});
    EXPECT_TRUE(lane.manager.createTargetOnDevice(lane.far.port, "SILHOUETTE", target));
    EXPECT_EQ(lane.sent("660101"), std::vector{sealed("660101" + padded)});
  }
}

TEST(CarelessText, OfAMegabyteIsAWrongUnitOrALongName) {
  const std::string text(std::size_t{1} << 20U, 'x');
  EXPECT_EQ(framesOf(parsed("{\"" + text + "\":1,\"Mounting\":\"" + text + "\",\"CaliberUnit\":\"" + text + "\"}")),
            allMissing);

  Lane lane;
  Json target = parsed(R"({"RingTargetNumber":1,"TargetName":")" + text + "\"}");
  EXPECT_TRUE(lane.manager.createTargetOnDevice(lane.far.port, "RING", target));
  const auto frames = lane.sent("6C0183");
  ASSERT_EQ(frames.size(), 1U);
  const bool whole =
      frames[0] == sealed("6C0183" + hexOf(std::vector<std::uint8_t>(text.size(), 'x')) + std::string(2 * 6, '0'));
  EXPECT_TRUE(whole) << frames[0].size();  // not printed: two megabytes
}

TEST(CarelessBitmap, SendsEveryRowAsItIs) {
  Lane lane;
  Json target = parsed(R"({"SilhouetteTargetNumber":1,"SilhouetteTarget":[[],[1,2,3],7,{"0":[1]},
    [0,4,-1,4294967297,true,null,0.9,1e300,"x"]]})");
  EXPECT_TRUE(lane.manager.createTargetOnDevice(lane.far.port, "SILHOUETTE", target));
  // Pixels spill into their neighbours; what is no number reads as 2147483647.
  EXPECT_EQ(lane.sent("6641"), (std::vector{sealed("664100"), sealed("6641016C"), sealed("664102"), sealed("664103"),
                                            sealed("664104FDF0C0")}));
}

TEST(CarelessBitmap, MayBeLongAndWide) {
  std::string rows = "[" + std::string(1'999'999, '1') + "]";
  for (std::size_t i = 2; i < rows.size() - 1; i += 2) rows[i] = ',';
  std::string text = R"({"SilhouetteTargetNumber":1,"SilhouetteTarget":[)" + rows;
  for (int row = 1; row < 300; ++row) text += ",[3,3,3,3]";
  Json target = parsed(text + "]}");
  Lane lane;
  EXPECT_TRUE(lane.manager.createTargetOnDevice(lane.far.port, "SILHOUETTE", target));
  const auto frames = lane.sent("6641");
  ASSERT_EQ(frames.size(), 300U);
  EXPECT_EQ(frames[0].size(), 2 * (3 + 1'000'000 / 4 + 1U));
  EXPECT_EQ(frames[63], sealed("6641BFFF"));
  EXPECT_EQ(frames[299], sealed("66412BFF"));
}

}  // namespace
}  // namespace BX::test
