// A slice of the fault matrix; scripts/faults runs the whole of it.
#include <gtest/gtest.h>

#include <regex>
#include <string>

#include "faults/Cell.h"

namespace BX::faults {
namespace {

// One rule in so many, beginning elsewhere for each exchange, so that together they meet every effect.
constexpr std::size_t stride = 7;

class Matrix : public testing::TestWithParam<std::size_t> {};

TEST_P(Matrix, EndsInTheSameResultOrACleanFailure) {
  useTimeouts();
  const Exchange& exchange = exchanges()[GetParam()];
  const Expected expected = expectedOf(exchange);
  ASSERT_FALSE(expected.rules.empty());
  for (std::size_t i = GetParam() % stride; i < expected.rules.size(); i += stride) {
    const Cell cell = runCell(exchange, expected, expected.rules[i]);
    EXPECT_NE(cell.outcome, Outcome::Wrong) << textOf(cell.rule) << ": " << cell.wrong;
  }
}

TEST(FaultMatrix, NoticesThatNoFaultStrikesAndThatNothingIsRepeated) {
  useTimeouts();
  const Exchange& exchange = exchanges().front();
  const Expected expected = expectedOf(exchange);
  const auto lossOf = [](std::size_t number) {
    return sim::FaultRule{sim::Direction::ToDevice, sim::FrameKind::Startup, number, sim::FaultEffect::Drop};
  };
  EXPECT_EQ(runCell(exchange, expected, lossOf(1000)).outcome, Outcome::Wrong);
  useTimeouts({.baud = 0, .resend = replyTime, .sends = 1, .reply = replyTime, .keepAlive = replyTime});
  EXPECT_EQ(runCell(exchange, expected, lossOf(1)).outcome, Outcome::Wrong);
}

INSTANTIATE_TEST_SUITE_P(Exchanges, Matrix, testing::Range(std::size_t{0}, exchanges().size()), [](auto& test) {
  return std::regex_replace(exchanges()[test.param].name, std::regex(" "), "_");
});

}  // namespace
}  // namespace BX::faults
