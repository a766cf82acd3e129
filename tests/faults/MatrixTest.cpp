// A slice of the fault matrix; scripts/faults runs the whole of it.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "faults/Cell.h"

namespace BX::faults {
namespace {

// One rule in so many, beginning elsewhere for each exchange, so that together they meet every effect.
constexpr std::size_t stride = 7;

class FaultMatrix : public testing::TestWithParam<std::size_t> {};

TEST_P(FaultMatrix, EndsInTheSameResultOrACleanFailure) {
  useShortTimeouts({});
  const Exchange& exchange = exchanges()[GetParam()];
  const Expected expected = expectedOf(exchange);
  ASSERT_FALSE(expected.rules.empty());
  for (std::size_t i = GetParam() % stride; i < expected.rules.size(); i += stride) {
    const Cell cell = runCell(exchange, expected, expected.rules[i]);
    EXPECT_TRUE(cell.outcome != Outcome::Wrong) << textOf(cell.rule) << ": " << cell.wrong;
  }
}

std::string testName(const testing::TestParamInfo<std::size_t>& test) {
  std::string name = exchanges()[test.param].name;
  std::replace(name.begin(), name.end(), ' ', '_');
  return name;
}

INSTANTIATE_TEST_SUITE_P(Exchanges, FaultMatrix, testing::Range(std::size_t{0}, exchanges().size()), testName);

}  // namespace
}  // namespace BX::faults
