#include "Spelling.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace BX::arguments {

namespace {

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool areSame(char a, char b) { return lower(a) == lower(b); }

bool beginsWith(std::string_view whole, std::string_view word) {
  return whole.size() >= word.size() && std::equal(word.begin(), word.end(), whole.begin(), areSame);
}

std::size_t editDistance(std::string_view a, std::string_view b) {
  // Rows of the table of distances between the first letters of both: the last two of them are needed.
  std::vector<std::size_t> before;
  std::vector<std::size_t> last(b.size() + 1);
  std::vector<std::size_t> row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) last[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t replaced = last[j - 1] + (areSame(a[i - 1], b[j - 1]) ? 0 : 1);
      row[j] = std::min({replaced, last[j] + 1, row[j - 1] + 1});
      if (i > 1 && j > 1 && areSame(a[i - 1], b[j - 2]) && areSame(a[i - 2], b[j - 1])) {
        row[j] = std::min(row[j], before[j - 2] + 1);
      }
    }
    before = last;
    last = row;
  }
  return last[b.size()];
}

}  // namespace

std::string nearestOf(const std::vector<std::string>& known, std::string_view word) {
  constexpr std::size_t lettersForASlip = 3;
  const std::size_t most = std::max<std::size_t>(1, word.size() / lettersForASlip);
  std::size_t least = most + 1;
  std::string nearest;
  for (const auto& candidate : known) {
    const auto [shorter, longer] = std::minmax({candidate.size(), word.size()});
    const bool isBegun = word.size() > 1 && beginsWith(candidate, word);
    if (!isBegun && longer - shorter > most) continue;  // a word may be a whole file
    const std::size_t distance = isBegun ? 1 : editDistance(word, candidate);
    if (distance >= least) continue;
    least = distance;
    nearest = candidate;
  }
  return nearest;
}

}  // namespace BX::arguments
