#include "bench/Page.h"

#include <algorithm>
#include <iomanip>
#include <sstream>

namespace BX::bench {

namespace {

std::string withUnit(double value, const std::string& unit) {
  return unit.empty() ? rounded(value) : rounded(value) + " " + unit;
}

std::string barOf(const Row& row) {
  return (row.bar == Bar::AtMost ? "at most " : "at least ") + withUnit(row.limit, row.unit);
}

}  // namespace

std::string rounded(double value) {
  const double size = std::abs(value);
  std::ostringstream text;
  text << std::fixed << std::setprecision(size >= 100 ? 0 : size >= 10 ? 1 : size >= 1 ? 2 : 3) << value;
  return text.str();
}

void writeTable(std::ostream& out, const std::vector<Row>& rows, int rounds) {
  out << "Machine: " << machine() << ". Medians of " << rounds << " rounds.\n\n";
  out << "| what | against | bar | got | | this run |\n|---|---|---|---|---|---|\n";
  for (const Row& row : rows) {
    out << "| " << row.what << " | " << row.against << " | " << barOf(row) << " | **" << withUnit(row.got, row.unit)
        << "** | " << (row.met() ? "met" : "falls short") << " | " << row.detail << " |\n";
  }
}

}  // namespace BX::bench
