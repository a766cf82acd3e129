#include <gmock/gmock.h>

#include <vector>

#include "morva/KeyedAccess.h"
#include "records/RecordDecoder.h"
#include "records/RecordFormat.h"

namespace BX::records {
namespace {

using Frame = std::vector<std::uint8_t>;

// Offsets 0 to 29; what is not read is 0xEE.
const Frame shotFrame = {0xCA, 0x6A, 0x07, 0xEE,              // shot 7
                         0x01, 0x2C, 0xFF, 0xFF,              // x 300, y -1
                         0x03, 0xE7, 0xFC, 0x18, 0xEE, 0xEE,  // tilt 999, rotation -1000
                         0x02, 0xFF, 0x03, 0xEE,              // ring 2, no silhouette, function mode 3
                         0x01, 0x02, 0x03, 0xEE,              // time
                         0x80, 0x00, 0xEE, 0xEE, 0xEE,        // FSI -32768
                         0x00, 0x00, 0x64};                   // status, 10.0 m measured

const Frame measurementFrame = {0xCA, 0x65, 0xEE, 0xEE, 0xFE, 0xD4, 0x00, 0x01,  // x -300, y 1
                                0x00, 0x0A, 0x04, 0xB0, 0xEE, 0xEE,              // tilt 10, rotation 1200
                                0x01, 0x2C, 0x00};                               // 30.0 m measured, status

const TargetInUse ring10Metres{10, "Meters", 1};

Frame with(Frame frame, std::size_t offset, std::initializer_list<std::uint8_t> bytes) {
  std::copy(bytes.begin(), bytes.end(), frame.begin() + static_cast<std::ptrdiff_t>(offset));
  return frame;
}

TEST(RecordFormat, TellsKindsAndWhatIsLongEnoughToDecode) {
  const auto judge = [](Frame frame) { return std::make_pair(kindOf(frame), isDecodable(frame)); };
  using Kind = RecordKind;
  EXPECT_EQ(judge(shotFrame), std::make_pair(Kind::Shot, true));
  EXPECT_EQ(judge(Frame(shotFrame.begin(), shotFrame.end() - 1)), std::make_pair(Kind::Shot, false));
  EXPECT_EQ(judge(measurementFrame), std::make_pair(Kind::Measurement, true));
  EXPECT_EQ(judge(Frame(measurementFrame.begin(), measurementFrame.end() - 1)),
            std::make_pair(Kind::Measurement, false));
  for (const Frame& frame : {Frame{}, Frame{0xCA}, Frame(40, 0xCA), Frame{0x59, 0x6A}, Frame(40, 0x6A)}) {
    EXPECT_EQ(judge(frame), std::make_pair(Kind::Other, false));
  }
}

TEST(ShotRecord, HasItsMembersInOrderAndWithTheirTypes) {
  Shot shot = decodeShot(shotFrame, ring10Metres);
  EXPECT_EQ(shotDocument(shot).toString(),
            R"({"RingTargetNumber":2,"SilhouetteTargetNumber":255,"FunctionMode":3,"ShotNumber":7,)"
            R"("PositionX":9.25,"PositionY":-0.030833333333333335,"Tilt":999,"Rotation":-1000,"Distance":9.25,)"
            R"("RotationInDegrees":-90,"TiltInDegrees":87,"Time":66051,"FSI":-32768,)"
            R"("ResultX":9.25,"ResultY":-0.030833333333333335,)"
            R"("LowSignal":0,"HighSignal":0,"MeasureError":0,"AngleError":0,"FSIError":0})");
  shot.aimingTime = 2;
  EXPECT_THAT(shotDocument(shot).toString(), testing::EndsWith(R"("FSIError":0,"aimingTime":2.0})"));
}

TEST(ShotRecord, ReadsUnsignedFieldsAsUnsigned) {
  const Frame frame = with(shotFrame, shot::timeOffset, {0xFF, 0xFF, 0xFF});
  EXPECT_EQ(decodeShot(frame, ring10Metres).time, 16777215);
  const Frame far = with(shotFrame, shot::distanceOffset, {0xFF, 0xFF});
  EXPECT_EQ(decodeShot(far, {10, "Meters", noTarget}).aim.distance, 6553.5);
}

TEST(ShotRecord, TakesLittleMemory) {
  Shot shot = decodeShot(shotFrame, ring10Metres);
  shot.aimingTime = 1.5;
  auto document = shotDocument(shot);
  auto copy = document;
  EXPECT_LE(document.getDocument().GetAllocator().Capacity(), 1024U);
  EXPECT_LE(copy.getDocument().GetAllocator().Capacity(), 1024U);
}

TEST(MeasurementRecord, HasItsMembersInOrderAndWithTheirTypes) {
  EXPECT_EQ(
      measurementDocument(decodeMeasurement(measurementFrame, {25, "Meters", 1}, false)).toString(),
      R"({"PositionX":-24.250000000000005,"PositionY":0.08083333333333334,"Tilt":10,"Rotation":1200,"Distance":24,)"
      R"("RotationInDegrees":90,"TiltInDegrees":0,)"
      R"("LowSignal":0,"HighSignal":0,"MeasureError":0,"AngleError":0,"FSIError":0})");
}

struct DistanceCase {
  TargetInUse target;
  double shot;         // shotFrame measures 10.0 m
  double measurement;  // measurementFrame measures 30.0 m
  double stored;       // the measurement again, from a stored session
};

class Distance : public testing::TestWithParam<DistanceCase> {};

TEST_P(Distance, ScalesPositions) {
  const auto& [target, shotDistance, measurementDistance, storedDistance] = GetParam();
  const Aim shot = decodeShot(shotFrame, target).aim;
  EXPECT_EQ(shot.distance, shotDistance);
  EXPECT_EQ(shot.positionX, 300 * (shotDistance * 0.0033333333333333335));
  const Aim measurement = decodeMeasurement(measurementFrame, target, false);
  EXPECT_EQ(measurement.distance, measurementDistance);
  EXPECT_EQ(measurement.positionX, -300 * (measurementDistance * 0.0033333333333333335));
  EXPECT_EQ(decodeMeasurement(measurementFrame, target, true).distance, storedDistance);
}

INSTANTIATE_TEST_SUITE_P(Table, Distance,
                         testing::Values(DistanceCase{{10, "Meters", 0}, 9.25, 9.25, 9.25},
                                         DistanceCase{{10, "Yards", 254}, 8.394, 8.394, 8.394},
                                         DistanceCase{{10, "yd", 1}, 8.394, 8.394, 8.394},
                                         DistanceCase{{10, "yards", 1}, 9.25, 9.25, 9.25},
                                         DistanceCase{{10, "Yard", 1}, 9.25, 9.25, 9.25},
                                         DistanceCase{{0, "", 1}, -0.75, -0.75, -0.75},
                                         DistanceCase{{10, "Meters", noTarget}, 10.0, 30.0, 10.0},
                                         DistanceCase{{10, "Yards", noTarget}, 10.0, 30.0, 9.144}));

TEST(Records, AnglesAreTruncatedWholeDegrees) {
  const std::vector<std::pair<int, int>> table = {
      {0, 0},    {10, 0},     {17, 0},    {18, 1},      {-18, -1},  {500, 30},    {-500, -30}, {707, 45},    {866, 60},
      {999, 87}, {-999, -87}, {1000, 90}, {-1000, -90}, {1200, 90}, {-1200, -90}, {32767, 90}, {-32768, -90}};
  for (const auto& [sine, degrees] : table) EXPECT_EQ(toDegrees(static_cast<std::int16_t>(sine)), degrees) << sine;
}

TEST(Records, StatusBitsHaveMembersOfTheirOwn) {
  const std::vector<std::pair<int, const char*>> table = {
      {0, "LowSignal"},    {1, "HighSignal"}, {2, ""},         {3, ""},
      {4, "MeasureError"}, {5, "AngleError"}, {6, "FSIError"}, {7, ""}};
  const char* const names[] = {"LowSignal", "HighSignal", "MeasureError", "AngleError", "FSIError"};
  for (const auto& [bit, expected] : table) {
    const auto status = static_cast<std::uint8_t>(1 << bit);
    const Shot shot = decodeShot(with(shotFrame, shot::statusOffset, {status}), ring10Metres);
    const Aim aim = decodeMeasurement(with(measurementFrame, measurement::statusOffset, {status}), ring10Metres, false);
    EXPECT_EQ(shot.aim.status, status);
    for (const char* name : names) {
      EXPECT_EQ(MORVA::getInteger(shotDocument(shot), name), name == std::string(expected)) << name << bit;
      EXPECT_EQ(MORVA::getInteger(measurementDocument(aim), name), name == std::string(expected)) << name << bit;
    }
  }
}

}  // namespace
}  // namespace BX::records
