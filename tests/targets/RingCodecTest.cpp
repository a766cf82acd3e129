// Ring targets by literal bytes. docs/wire.md has more of them, which DocumentationTest sends.
#include "targets/RingCodec.h"

#include "tests/targets/TargetTesting.h"

namespace BX::test {
namespace {

namespace ring = targets::ring;

TEST(RingHeaderFrame, HasTheseBytes) {
  const std::pair<const char*, const char*> table[] = {
      {R"({"RingTargetNumber":3,"NominalShootingDistanceUnit":"Yards","NominalDistance":200,"CaliberUnit":"Inches",
           "Caliber":0.22,"RingGapUnitType":"Inches","RingsGapsUnit":"Variable","HighestRing":10,"MinimumRing":5,
           "HIBMinScore":9,"TargetWidth":72,"TargetHeight":60,"PrismPlaceX":258,"PrismPlaceY":-2})",
       "6C 03 00 F1 02 07D0 00DC 0A 05 5A 00 48 3C 0102 FFFE"},
      {R"({"RingTargetNumber":7,"NominalShootingDistanceUnit":"m","NominalDistance":25,"CaliberUnit":"mm",
           "Caliber":5.6,"RingGapUnitType":"mm","RingsGapsUnit":"Fixed","HighestRing":10,"MinimumRing":1,
           "HIBMinScore":8,"TargetWidth":170,"TargetHeight":55,"PrismPlaceX":0,"PrismPlaceY":1})",
       "6C 07 00 01 02 00FA 0230 0A 01 50 00 AA 37 0000 0001"},
      // Units of almost the right spelling.
      {R"({"RingTargetNumber":257,"NominalShootingDistanceUnit":"mm","NominalDistance":7000,"CaliberUnit":"m",
           "Caliber":-0.0019,"RingGapUnitType":"millimeters","RingsGapsUnit":"fixed","HighestRing":9.99,
           "MinimumRing":"1","HIBMinScore":26,"TargetWidth":550,"TargetHeight":4294967298,"PrismPlaceX":1e10,
           "PrismPlaceY":null})",
       "6C 01 00 F1 02 1170 FFFF 09 FF 04 00 26 02 0000 FFFF"}};
  for (const auto& [document, frame] : table) {
    const auto target = parsed(document);
    EXPECT_EQ(hexOf(ring::headerFrame(ring::readHeader(target), ring::controlByte1(target))), compact(frame));
  }
}

TEST(RingDiameterFrames, ScaleByTheUnitAndCutToSixteenBits) {
  std::string document = R"({"RingGapUnitType":"Millimeters","DiameterInnerWhite":1,"DiameterBlackArea":200,
    "HitRingGap":25,"DiameterX":6554,"DiameterHighestRing":-1)";
  for (int i = 1; i <= 10; ++i) document += ",\"DiameterVariableHminus" + std::to_string(i) + "\":" + std::to_string(i);
  const auto target = parsed(document + "}");
  EXPECT_EQ(hexOf(ring::diameterFrame(target, 261, ring::innerPart)),
            compact("6C 05 01 000A 07D0 00FA 0004 FFF6 000A 0014 001E"));
  EXPECT_EQ(hexOf(ring::diameterFrame(target, 5, ring::outerPart)),
            compact("6C 05 02 0028 0032 003C 0046 0050 005A 0064 FFF6"));
}

TEST(RingNameFrame, PadsShortNamesAndNeverCutsLongOnes) {
  const auto frame = [](const std::string& document) { return hexOf(ring::nameFrame(parsed(document), 5)); };
  EXPECT_EQ(frame(R"({"TargetName":"abc"})"), compact("6C 05 83 616263 00000000000000 000000000000"));
  EXPECT_EQ(frame(R"({"TargetName":"0123456789a"})"), compact("6C 05 83 3031323334353637383961 000000000000"));
  for (const auto* nameless : {"{}", R"({"TargetName":""})", R"({"TargetName":1})"}) {
    EXPECT_EQ(frame(nameless), compact("6C 05 83 4D313620323030207964 000000000000")) << nameless;
  }
}

TEST(RingHeaderReply, ScalesByTheUnitsThatItNames) {
  // No two of the four units stand together in every row.
  const std::pair<const char*, const char*> table[] = {
      {"59 6D 07 00 4F FF 00FF 02FA 0A 01 FF AA FF FFFF 8000",
       R"({"NominalShootingDistanceUnit":"Meters","CaliberUnit":"Millimeters","RingGapUnitType":"Inches",)"
       R"("RingsGapsUnit":"Fixed","NominalDistance":25,"Caliber":7.62,"HighestRing":10,"MinimumRing":1,)"
       R"("HIBMinScore":25,"TargetWidth":1,"TargetHeight":2,"PrismPlaceX":65535,"PrismPlaceY":32768})"},
      {"59 6D 03 00 A0 02 07D0 00DC 0A 05 5A AA 09 0102 FFFE",
       R"({"NominalShootingDistanceUnit":"Meters","CaliberUnit":"Inches","RingGapUnitType":"Millimeters",)"
       R"("RingsGapsUnit":"Variable","NominalDistance":200,"Caliber":0.22,"HighestRing":10,"MinimumRing":5,)"
       R"("HIBMinScore":9,"TargetWidth":17,"TargetHeight":0,"PrismPlaceX":258,"PrismPlaceY":65534})"},
      {"59 6D 03 00 90 02 07D0 0000 00 00 00 00 00 0000 0000",
       R"({"NominalShootingDistanceUnit":"Yards","CaliberUnit":"Millimeters","RingGapUnitType":"Millimeters",)"
       R"("RingsGapsUnit":"Variable","NominalDistance":200,"Caliber":0.0,"HighestRing":0,"MinimumRing":0,)"
       R"("HIBMinScore":0,"TargetWidth":0,"TargetHeight":0,"PrismPlaceX":0,"PrismPlaceY":0})"}};
  for (const auto& [hex, document] : table) {
    const auto reply = bytesOf(hex);
    Json target;
    ring::writeUnits(reply[targets::reply::contentOffset], target);
    ring::writeHeader(reply, target);
    EXPECT_EQ(target.toString(), document);
  }
}

TEST(RingDiameterReplies, TruncateToWholeUnitsOfTheTargetsOwn) {
  auto target = parsed(R"({"RingGapUnitType":"mm"})");
  ring::writeDiameters(bytesOf("59 6D 05 01 000A 07D0 00FA 0009 FFFF 007D 0014 001E"), target);
  ring::writeDiameters(bytesOf("59 6D 05 02 0001 0032 003C 0046 0050 005A 0064 006E"), target);
  EXPECT_EQ(target.toString(),
            R"({"RingGapUnitType":"mm","DiameterInnerWhite":1,"DiameterBlackArea":200,"HitRingGap":25,"DiameterX":0,)"
            R"("DiameterHighestRing":6553,"DiameterVariableHminus1":12,"DiameterVariableHminus2":2,)"
            R"("DiameterVariableHminus3":3,"DiameterVariableHminus4":0,"DiameterVariableHminus5":5,)"
            R"("DiameterVariableHminus6":6,"DiameterVariableHminus7":7,"DiameterVariableHminus8":8,)"
            R"("DiameterVariableHminus9":9,"DiameterVariableHminus10":10,"DiameterVariableHminus11":11})");
}

TEST(TargetName, EndsAtAZeroByteTheFieldOrTheReply) {
  const auto name = [](const std::string& hex) { return targets::nameOf(bytesOf(hex)); };
  EXPECT_EQ(name("59 6D 05 83 616263 00 6465"), "abc");
  EXPECT_EQ(name("59 6D 05 83 3031323334353637383961"), "0123456789");
  EXPECT_EQ(name("59 6D 05 83 6162"), "ab");
  EXPECT_EQ(name("59 6D 05 83"), "");
}

}  // namespace
}  // namespace BX::test
