#include "targets/RingCodec.h"

#include <gtest/gtest.h>

#include "tests/targets/TargetTesting.h"

namespace BX::test {
namespace {

namespace ring = targets::ring;

std::string headerHex(const std::string& document) {
  const auto target = parsed(document);
  return toHex(ring::headerFrame(ring::readHeader(target), ring::controlByte1(target)));
}

struct HeaderCase {
  const char* what;
  const char* document;
  const char* frame;
};

class RingHeaderFrame : public testing::TestWithParam<HeaderCase> {};

TEST_P(RingHeaderFrame, HasTheseBytes) {
  EXPECT_EQ(headerHex(GetParam().document), compact(GetParam().frame)) << GetParam().what;
}

constexpr auto inchHeader = R"({"RingTargetNumber":3,"NominalShootingDistanceUnit":"Yards","NominalDistance":200,
  "CaliberUnit":"Inches","Caliber":0.22,"RingGapUnitType":"Inches","RingsGapsUnit":"Variable","HighestRing":10,
  "MinimumRing":5,"HIBMinScore":9,"TargetWidth":72,"TargetHeight":60,"PrismPlaceX":258,"PrismPlaceY":-2})";
constexpr auto millimetreHeader = R"({"RingTargetNumber":7,"NominalShootingDistanceUnit":"m","NominalDistance":25,
  "CaliberUnit":"mm","Caliber":5.6,"RingGapUnitType":"mm","RingsGapsUnit":"Fixed","HighestRing":10,"MinimumRing":1,
  "HIBMinScore":8,"TargetWidth":170,"TargetHeight":55,"PrismPlaceX":0,"PrismPlaceY":1})";
constexpr auto outOfRange = R"({"RingTargetNumber":257,"NominalShootingDistanceUnit":"Meters","NominalDistance":7000,
  "CaliberUnit":"Millimeters","Caliber":1e9,"RingGapUnitType":"Millimeters","RingsGapsUnit":"Fixed",
  "HighestRing":266,"MinimumRing":-1,"HIBMinScore":26,"TargetWidth":550,"TargetHeight":4294967298,
  "PrismPlaceX":65537,"PrismPlaceY":2147483648})";
// Units of almost the right spelling.
constexpr auto nearMisses = R"({"RingTargetNumber":1,"NominalShootingDistanceUnit":"mm","NominalDistance":true,
  "CaliberUnit":"m","Caliber":-0.0019,"RingGapUnitType":"millimeters","RingsGapsUnit":"fixed","HighestRing":9.99,
  "MinimumRing":"1","HIBMinScore":0,"TargetWidth":1,"TargetHeight":1,"PrismPlaceX":1e10,"PrismPlaceY":null})";

INSTANTIATE_TEST_SUITE_P(
    , RingHeaderFrame,
    testing::Values(HeaderCase{"inches and yards", inchHeader, "6C 03 00 F1 02 07D0 00DC 0A 05 5A 00 48 3C 0102 FFFE"},
                    HeaderCase{"short unit texts", millimetreHeader,
                               "6C 07 00 01 02 00FA 0230 0A 01 50 00 AA 37 0000 0001"},
                    HeaderCase{"numbers are cut", outOfRange, "6C 01 00 01 02 1170 0000 0A FF 04 00 26 02 0001 0000"},
                    HeaderCase{"units and types", nearMisses, "6C 01 00 F1 02 000A FFFF 09 FF 00 00 01 01 0000 FFFF"},
                    HeaderCase{"nothing given", "{}", "6C FF 00 F1 02 FFF6 0000 FF FF F6 00 FF FF FFFF FFFF"},
                    HeaderCase{"no object", "[]", "6C FF 00 F1 02 FFF6 0000 FF FF F6 00 FF FF FFFF FFFF"}));

TEST(RingDiameterFrames, ScaleByTheUnitAndCutToSixteenBits) {
  std::string document = R"({"RingGapUnitType":"Millimeters","DiameterInnerWhite":1,"DiameterBlackArea":200,
    "HitRingGap":25,"DiameterX":6554,"DiameterHighestRing":-1)";
  for (int i = 1; i <= 10; ++i) document += ",\"DiameterVariableHminus" + std::to_string(i) + "\":" + std::to_string(i);
  const auto millimetres = parsed(document + "}");
  EXPECT_EQ(toHex(ring::diameterFrame(millimetres, 5, ring::innerPart)),
            compact("6C 05 01 000A 07D0 00FA 0004 FFF6 000A 0014 001E"));
  EXPECT_EQ(toHex(ring::diameterFrame(millimetres, 5, ring::outerPart)),
            compact("6C 05 02 0028 0032 003C 0046 0050 005A 0064 FFF6"));

  const auto inches = parsed(R"({"RingGapUnitType":"in","DiameterX":12})");
  EXPECT_EQ(toHex(ring::diameterFrame(inches, 261, ring::innerPart)),
            compact("6C 05 01 FF9C FF9C FF9C 04B0 FF9C FF9C FF9C FF9C"));
}

TEST(RingNameFrame, PadsShortNamesAndNeverCutsLongOnes) {
  const auto frame = [](const std::string& document) { return toHex(ring::nameFrame(parsed(document), 5)); };
  EXPECT_EQ(frame(R"({"TargetName":"abc"})"), compact("6C 05 83 616263 00000000000000 000000000000"));
  EXPECT_EQ(frame(R"({"TargetName":"0123456789"})"), compact("6C 05 83 30313233343536373839 000000000000"));
  EXPECT_EQ(frame(R"({"TargetName":"0123456789a"})"), compact("6C 05 83 3031323334353637383961 000000000000"));
  EXPECT_EQ(frame(R"({"TargetName":"a\u0000b"})"), compact("6C 05 83 610062 00000000000000 000000000000"));
  const auto standard = compact("6C 05 83 4D313620323030207964 000000000000");
  for (const auto* nameless : {"{}", R"({"TargetName":""})", R"({"TargetName":1})"}) {
    EXPECT_EQ(frame(nameless), standard) << nameless;
  }
}

// The header of `reply` as a document.
std::string headerOf(const std::string& hex) {
  const auto reply = fromHex(hex);
  Json target;
  ring::writeUnits(reply[targets::reply::contentOffset], target);
  ring::writeHeader(reply, target);
  return target.toString();
}

TEST(RingHeaderReply, ScalesByTheUnitsThatItNames) {
  EXPECT_EQ(headerOf("59 6D 07 00 0F FF 00FF 02FA 0A 01 FF AA 09 FFFF 8000"),
            R"({"NominalShootingDistanceUnit":"Meters","CaliberUnit":"Millimeters","RingGapUnitType":"Millimeters",)"
            R"("RingsGapsUnit":"Fixed","NominalDistance":25,"Caliber":7.62,"HighestRing":10,)"
            R"("MinimumRing":1,"HIBMinScore":25,"TargetWidth":17,"TargetHeight":0,"PrismPlaceX":65535,)"
            R"("PrismPlaceY":32768})");
  EXPECT_EQ(headerOf("59 6D 03 00 F0 02 07D0 00DC 0A 05 5A FF 64 0102 FFFE"),
            R"({"NominalShootingDistanceUnit":"Yards","CaliberUnit":"Inches","RingGapUnitType":"Inches",)"
            R"("RingsGapsUnit":"Variable","NominalDistance":200,"Caliber":0.22,"HighestRing":10,)"
            R"("MinimumRing":5,"HIBMinScore":9,"TargetWidth":2,"TargetHeight":1,"PrismPlaceX":258,)"
            R"("PrismPlaceY":65534})");
}

TEST(RingHeaderReply, ReadsEachUnitFromItsOwnBit) {
  const auto units = [](std::uint8_t control) {
    Json target;
    ring::writeUnits(control, target);
    return target.toString();
  };
  const auto text = [](const char* distance, const char* caliber, const char* size, const char* gaps) {
    return std::string(R"({"NominalShootingDistanceUnit":")") + distance + R"(","CaliberUnit":")" + caliber +
           R"(","RingGapUnitType":")" + size + R"(","RingsGapsUnit":")" + gaps + "\"}";
  };
  EXPECT_EQ(units(0x10), text("Yards", "Millimeters", "Millimeters", "Fixed"));
  EXPECT_EQ(units(0x20), text("Meters", "Inches", "Millimeters", "Fixed"));
  EXPECT_EQ(units(0x40), text("Meters", "Millimeters", "Inches", "Fixed"));
  EXPECT_EQ(units(0x80), text("Meters", "Millimeters", "Millimeters", "Variable"));
}

TEST(RingDiameterReplies, TruncateToWholeUnitsOfTheTargetsOwn) {
  const auto inner = fromHex("59 6D 05 01 000A 07D0 00FA 0009 FFFF 007D 0014 001E");
  const auto outer = fromHex("59 6D 05 02 0001 0032 003C 0046 0050 005A 0064 006E");
  auto millimetres = parsed(R"({"RingGapUnitType":"mm"})");
  ring::writeDiameters(inner, millimetres);
  ring::writeDiameters(outer, millimetres);
  EXPECT_EQ(millimetres.toString(),
            R"({"RingGapUnitType":"mm","DiameterInnerWhite":1,"DiameterBlackArea":200,"HitRingGap":25,"DiameterX":0,)"
            R"("DiameterHighestRing":6553,"DiameterVariableHminus1":12,"DiameterVariableHminus2":2,)"
            R"("DiameterVariableHminus3":3,"DiameterVariableHminus4":0,"DiameterVariableHminus5":5,)"
            R"("DiameterVariableHminus6":6,"DiameterVariableHminus7":7,"DiameterVariableHminus8":8,)"
            R"("DiameterVariableHminus9":9,"DiameterVariableHminus10":10,"DiameterVariableHminus11":11})");
  Json withoutUnit;  // counts as inches
  ring::writeDiameters(inner, withoutUnit);
  EXPECT_EQ(withoutUnit.toString(),
            R"({"DiameterInnerWhite":0,"DiameterBlackArea":20,"HitRingGap":2,"DiameterX":0,)"
            R"("DiameterHighestRing":655,"DiameterVariableHminus1":1,"DiameterVariableHminus2":0,)"
            R"("DiameterVariableHminus3":0})");
}

TEST(TargetName, EndsAtAZeroByteTheFieldOrTheReply) {
  const auto name = [](const std::string& hex) { return targets::nameOf(fromHex(hex)); };
  EXPECT_EQ(name("59 6D 05 83 616263 00 6465"), "abc");
  EXPECT_EQ(name("59 6D 05 83 3031323334353637383961"), "0123456789");
  EXPECT_EQ(name("59 6D 05 83 6162"), "ab");
  EXPECT_EQ(name("59 6D 05 83"), "");
}

}  // namespace
}  // namespace BX::test
