#include "simulator/Shooter.h"

#include <gtest/gtest.h>

#include <cmath>

#include "simulator/DeviceWire.h"
#include "tests/support/Hex.h"

namespace BX::sim {
namespace {

using test::hexOf;

constexpr Shooter::Setting pistol{3, 7, wire::noTarget, 250};

int signed16(const Bytes& bytes, std::size_t offset) {
  return static_cast<std::int16_t>(bytes[offset] << 8 | bytes[offset + 1]);
}

bool isShot(const Bytes& record) { return record[1] == wire::shotRecord; }

std::vector<Bytes> records(std::uint64_t seed, std::size_t count, const Shooter::Setting& setting = pistol) {
  Shooter shooter(seed, setting);
  std::vector<Bytes> result;
  while (result.size() < count) result.push_back(shooter.next());
  return result;
}

TEST(Shooter, GivesTheSameBytesForTheSameSeedOnEveryMachine) {
  EXPECT_EQ(records(1, 2000), records(1, 2000));
  EXPECT_NE(records(1, 100), records(2, 100));
  const std::vector<Bytes> pinned = records(1, 91);
  EXPECT_EQ(hexOf(pinned[0]), "CA650001FC49ED7B00070000000000FA01");
  EXPECT_EQ(hexOf(pinned[90]), "CA6A0100FE1DFFFAFFF5FFFA000007FF03000007080003700000000000FA");
}

TEST(Shooter, FiresWhereItAims) {
  const auto all = records(5, 5000);
  int number = 0;
  int lastTime = 0;
  for (std::size_t i = 0; i < all.size(); ++i) {
    if (!isShot(all[i])) {
      ASSERT_EQ(all[i].size(), 17U);
      continue;
    }
    ASSERT_EQ(all[i].size(), 30U);
    EXPECT_EQ(hexOf(Bytes(all[i].begin() + 4, all[i].begin() + 12)),
              hexOf(Bytes(all[i - 1].begin() + 4, all[i - 1].begin() + 12)));
    EXPECT_EQ(all[i][2], ++number);
    EXPECT_EQ(all[i][14], 7);
    EXPECT_EQ(all[i][15], 255);
    EXPECT_EQ(all[i][16], 3);
    EXPECT_EQ(all[i][27], 0);
    const int time = all[i][18] << 16 | all[i][19] << 8 | all[i][20];
    if (number == 1) {
      EXPECT_LE(time, 2000);
    } else {
      EXPECT_GE(time - lastTime, 2500);
      EXPECT_LE(time - lastTime, 4000);
    }
    lastTime = time;
  }
  EXPECT_GE(number, 25);
}

TEST(Shooter, HitsLikeADecentPistolShooter) {
  double sum = 0;
  int shots = 0;
  for (const Bytes& record : records(3, 60000)) {
    if (!isShot(record)) continue;
    const double millimeters = 24.25 / 300;
    sum += std::hypot(signed16(record, 4) * millimeters, signed16(record, 6) * millimeters);
    ++shots;
  }
  const double meanRadius = sum / shots;
  EXPECT_GT(meanRadius, 25);  // the nine ring's radius is 50 mm, the seven ring's 100 mm
  EXPECT_LT(meanRadius, 50);
}

TEST(Shooter, ScattersNoWiderOnAFarTarget) {
  const auto far = records(3, 5000, {3, 7, wire::noTarget, 3000});
  for (const Bytes& record : far) {
    if (!isShot(record)) continue;
    EXPECT_LT(std::abs(signed16(record, 4)) * 299.25 / 300, 250);
  }
}

TEST(Shooter, IsBarelySeenUntilItComesUpToTheTarget) {
  const auto all = records(4, 91);
  EXPECT_EQ(all.front()[16], 0x01);
  EXPECT_LT(signed16(all.front(), 6), -2500);
  for (std::size_t i = 50; i < 90; ++i) EXPECT_EQ(all[i][16], 0) << i;
}

}  // namespace
}  // namespace BX::sim
