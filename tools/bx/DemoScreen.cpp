#include "DemoScreen.h"

#include <algorithm>
#include <cmath>

#include "bx/DocumentKeys.h"
#include "morva/KeyedAccess.h"

namespace BX::tool {

namespace {

constexpr int plotRows = 11;  // odd: the middle one is the centre
constexpr int plotColumns = 2 * plotRows - 1;

std::string withoutAimingTime(Json record) {
  auto& root = record.getDocument();
  if (root.IsObject() && root.HasMember(key::record::aimingTime)) root.EraseMember(key::record::aimingTime);
  return record.toString();
}

// How far the plot reaches from its centre.
double reach(const std::vector<Json>& shots) {
  double farthest = 1;
  for (const auto& shot : shots) {
    farthest = std::max({farthest, std::abs(MORVA::getDouble(shot, key::record::positionX)),
                         std::abs(MORVA::getDouble(shot, key::record::positionY))});
  }
  return farthest;
}

int cell(double position, double farthest, int cells) {
  const int middle = cells / 2;
  return middle + static_cast<int>(std::lround(position / farthest * middle));
}

}  // namespace

std::vector<std::string> drawHits(const std::vector<Json>& shots) {
  std::vector<std::string> rows(plotRows, std::string(plotColumns, ' '));
  for (auto& row : rows) row[plotColumns / 2] = '|';
  rows[plotRows / 2].assign(plotColumns, '-');
  rows[plotRows / 2][plotColumns / 2] = '+';
  const double farthest = reach(shots);
  for (const auto& shot : shots) {
    const int column = cell(MORVA::getDouble(shot, key::record::positionX), farthest, plotColumns);
    const int row = plotRows - 1 - cell(MORVA::getDouble(shot, key::record::positionY), farthest, plotRows);
    const int digit = MORVA::getInteger(shot, key::record::shotNumber) % 10;
    rows[static_cast<std::size_t>(row)][static_cast<std::size_t>(column)] = static_cast<char>('0' + digit);
  }
  return rows;
}

bool areSameRecords(const std::vector<Json>& streamed, const std::vector<Json>& stored) {
  return std::equal(streamed.begin(), streamed.end(), stored.begin(), stored.end(),
                    [](const Json& a, const Json& b) { return withoutAimingTime(a) == withoutAimingTime(b); });
}

}  // namespace BX::tool
