// Records by literal bytes.
#include <gmock/gmock.h>

#include <tuple>

#include "morva/KeyedAccess.h"
#include "records/RecordDecoder.h"
#include "records/RecordFormat.h"
#include "tests/support/Hex.h"

namespace BX::records {
namespace {

using test::bytesOf;
using Frame = std::vector<std::uint8_t>;

// What is not read is EE. Shot 7 at x 300, y -1, tilt 999, rotation -1000; ring 2, no silhouette, function mode 3;
// time, FSI -32768, status, 10.0 m measured.
const Frame shotFrame = bytesOf("CA6A 07 EE 012C FFFF 03E7 FC18 EEEE 02 FF 03 EE 010203 EE 8000 EEEEEE 00 0064");

// x -300, y 1, tilt 10, rotation 1200, 30.0 m measured, status.
const Frame measurementFrame = bytesOf("CA65 EEEE FED4 0001 000A 04B0 EEEE 012C 00");

const TargetInUse ring10Metres{10, "Meters", 1};

Frame with(Frame frame, std::size_t offset, const std::string& bytes) {
  const auto replacement = bytesOf(bytes);
  std::copy(replacement.begin(), replacement.end(), frame.begin() + static_cast<std::ptrdiff_t>(offset));
  return frame;
}

TEST(RecordFormat, TellsKindsAndWhatIsLongEnoughToDecode) {
  for (const auto& [frame, kind] :
       {std::pair(shotFrame, RecordKind::Shot), std::pair(measurementFrame, RecordKind::Measurement)}) {
    const Frame cut(frame.begin(), frame.end() - 1);
    EXPECT_EQ(kindOf(cut), kind);
    EXPECT_TRUE(isDecodable(frame) && !isDecodable(cut));
  }
  for (const Frame& frame : {Frame{}, Frame{0xCA}, Frame(40, 0xCA), Frame{0x59, 0x6A}, Frame(40, 0x6A)}) {
    EXPECT_TRUE(kindOf(frame) == RecordKind::Other && !isDecodable(frame));
  }
}

TEST(Records, HaveTheirMembersInOrderAndWithTheirTypes) {
  EXPECT_EQ(shotDocument(decodeShot(shotFrame, ring10Metres)).toString(),
            R"({"RingTargetNumber":2,"SilhouetteTargetNumber":255,"FunctionMode":3,"ShotNumber":7,)"
            R"("PositionX":9.25,"PositionY":-0.030833333333333335,"Tilt":999,"Rotation":-1000,"Distance":9.25,)"
            R"("RotationInDegrees":-90,"TiltInDegrees":87,"Time":66051,"FSI":-32768,)"
            R"("ResultX":9.25,"ResultY":-0.030833333333333335,)"
            R"("LowSignal":0,"HighSignal":0,"MeasureError":0,"AngleError":0,"FSIError":0})");
  EXPECT_EQ(
      measurementDocument(decodeMeasurement(measurementFrame, {25, "Meters", 1}, false)).toString(),
      R"({"PositionX":-24.250000000000005,"PositionY":0.08083333333333334,"Tilt":10,"Rotation":1200,"Distance":24,)"
      R"("RotationInDegrees":90,"TiltInDegrees":0,)"
      R"("LowSignal":0,"HighSignal":0,"MeasureError":0,"AngleError":0,"FSIError":0})");
}

TEST(Records, ReadUnsignedFieldsAsUnsigned) {
  EXPECT_EQ(decodeShot(with(shotFrame, shot::timeOffset, "FFFFFF"), ring10Metres).time, 16777215);
  const Frame far = with(shotFrame, shot::distanceOffset, "FFFF");
  EXPECT_EQ(decodeShot(far, {10, "Meters", noTarget}).aim.distance, 6553.5);
}

TEST(Records, TakeLittleMemoryAndSoDoTheirCopies) {
  Shot shot = decodeShot(shotFrame, ring10Metres);
  shot.aimingTime = 1.5;
  auto document = shotDocument(shot);
  EXPECT_THAT(document.toString(), testing::EndsWith(R"("FSIError":0,"aimingTime":1.5})"));
  auto copy = document;
  EXPECT_LE(document.getDocument().GetAllocator().Capacity(), 1024U);
  EXPECT_LE(copy.getDocument().GetAllocator().Capacity(), 1024U);
}

TEST(Records, ScaleByTheDistanceOfTheTargetInUseOrAsMeasured) {
  // What a shot, a measurement and one of a stored session are scaled by. They measure 10, 30 and 30 m.
  const std::tuple<TargetInUse, double, double, double> table[] = {
      {{10, "Meters", 0}, 9.25, 9.25, 9.25},       {{10, "Yards", 254}, 8.394, 8.394, 8.394},
      {{10, "yd", 1}, 8.394, 8.394, 8.394},        {{10, "yards", 1}, 9.25, 9.25, 9.25},
      {{0, "", 1}, -0.75, -0.75, -0.75},           {{10, "Meters", noTarget}, 10.0, 30.0, 10.0},
      {{10, "Yards", noTarget}, 10.0, 30.0, 9.144}};
  for (const auto& [target, shotDistance, measurementDistance, storedDistance] : table) {
    SCOPED_TRACE(target.distanceUnit);
    const Aim shot = decodeShot(shotFrame, target).aim;
    EXPECT_EQ(shot.distance, shotDistance);
    EXPECT_EQ(shot.positionX, 300 * (shotDistance * 0.0033333333333333335));
    const Aim measurement = decodeMeasurement(measurementFrame, target, false);
    EXPECT_EQ(measurement.distance, measurementDistance);
    EXPECT_EQ(measurement.positionX, -300 * (measurementDistance * 0.0033333333333333335));
    EXPECT_EQ(decodeMeasurement(measurementFrame, target, true).distance, storedDistance);
  }
}

TEST(Records, HaveAnglesInTruncatedWholeDegrees) {
  const std::pair<int, int> table[] = {{0, 0},     {17, 0},      {18, 1},     {-18, -1},    {500, 30},
                                       {707, 45},  {866, 60},    {999, 87},   {-999, -87},  {1000, 90},
                                       {1200, 90}, {-1200, -90}, {32767, 90}, {-32768, -90}};
  for (const auto& [sine, degrees] : table) EXPECT_EQ(toDegrees(static_cast<std::int16_t>(sine)), degrees) << sine;
}

TEST(Records, HaveAMemberForEachStatusBit) {
  const char* const names[] = {"LowSignal", "HighSignal", "", "", "MeasureError", "AngleError", "FSIError", ""};
  for (unsigned bit = 0; bit < 8; ++bit) {
    const std::string status = test::hexOf(Frame{static_cast<std::uint8_t>(1U << bit)});
    const Shot shot = decodeShot(with(shotFrame, shot::statusOffset, status), ring10Metres);
    const Aim aim = decodeMeasurement(with(measurementFrame, measurement::statusOffset, status), ring10Metres, false);
    for (const auto& document : {shotDocument(shot), measurementDocument(aim)}) {
      for (const std::string name : {"LowSignal", "HighSignal", "MeasureError", "AngleError", "FSIError"}) {
        EXPECT_EQ(MORVA::getInteger(document, name), name == names[bit]) << name << bit;
      }
    }
  }
}

}  // namespace
}  // namespace BX::records
