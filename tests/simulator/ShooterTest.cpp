#include "simulator/Shooter.h"

#include <gmock/gmock.h>

#include <cmath>

#include "simulator/DeviceWire.h"
#include "tests/support/Hex.h"

namespace BX::sim {
namespace {

using test::hexOf;
using testing::AllOf;
using testing::Ge;
using testing::Le;

constexpr Shooter::Setting pistol{3, 7, wire::noTarget, 250};

int signed16(const Bytes& bytes, std::size_t offset) {
  return static_cast<std::int16_t>(bytes[offset] << 8 | bytes[offset + 1]);
}

bool isShot(const Bytes& record) { return record[1] == wire::shotRecord; }

std::vector<Bytes> records(std::uint64_t seed, std::size_t count, const Shooter::Setting& setting = pistol) {
  Shooter shooter(seed, setting);
  std::vector<Bytes> result(count);
  for (auto& record : result) record = shooter.next();
  return result;
}

// From the middle, in millimetres; a unit of the record is the 300th part of the weapon's way to the target.
double meanRadius(const std::vector<Bytes>& all, double wayInMeters) {
  double sum = 0;
  int shots = 0;
  for (const Bytes& record : all) {
    if (!isShot(record)) continue;
    sum += std::hypot(signed16(record, 4), signed16(record, 6)) * wayInMeters / 300;
    ++shots;
  }
  return sum / shots;
}

TEST(Shooter, GivesTheSameBytesForTheSameSeedOnEveryMachine) {
  const auto pinned = records(1, 5000);
  EXPECT_EQ(hexOf(pinned[0]), "CA650001FC49ED7B00070000000000FA01");
  EXPECT_EQ(hexOf(pinned[89]), "CA65005AFE1DFFFAFFF5FFFA000000FA00");
  EXPECT_EQ(hexOf(pinned[90]), "CA6A0100FE1DFFFAFFF5FFFA000007FF03000007080003700000000000FA") << "where it aimed";
  EXPECT_EQ(hexOf(pinned[4999]), "CA65136B02A70060000B0003000000FA00");
  EXPECT_NE(records(2, 1), records(1, 1));
}

TEST(Shooter, HitsLikeADecentShooterAtEveryDistance) {
  // The nine ring's radius is 50 mm, the seven ring's 100 mm; the way begins 0.75 m ahead of the shooter.
  EXPECT_THAT(meanRadius(records(3, 60000), 24.25), AllOf(Ge(25), Le(50)));
  EXPECT_LE(meanRadius(records(3, 60000, {3, 7, wire::noTarget, 3000}), 299.25), 120);
}

}  // namespace
}  // namespace BX::sim
