#include "simulator/Pacer.h"

#include <gtest/gtest.h>

namespace BX::sim {
namespace {

using namespace std::chrono_literals;

constexpr Pacer::Time start{};

TEST(Pacer, LetsBytesArriveAtTheSpeedOfTheLine) {
  Pacer pacer(1000);  // a byte each 10 ms
  pacer.push({1, 2}, start);
  pacer.push({3}, start);
  EXPECT_EQ(pacer.due(), start + 20ms);
  EXPECT_EQ(pacer.takeDue(start + 19ms), std::nullopt);
  EXPECT_EQ(pacer.takeDue(start + 25ms), (Bytes{1, 2}));
  EXPECT_EQ(pacer.due(), start + 30ms);
  pacer.push({4}, start + 40ms);
  EXPECT_EQ(pacer.takeDue(start + 40ms), Bytes{3});
  EXPECT_EQ(pacer.due(), start + 50ms) << "an idle line saves no time up";
}

TEST(Pacer, DelaysWithoutSlowingTheLineDown) {
  Pacer pacer(1000, 500ms);
  pacer.push({1}, start);
  pacer.push({2}, start);
  EXPECT_EQ(pacer.takeDue(start + 510ms), Bytes{1});
  EXPECT_EQ(pacer.due(), start + 520ms);
  pacer.clear();
  EXPECT_TRUE(pacer.empty());
}

}  // namespace
}  // namespace BX::sim
