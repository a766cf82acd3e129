// The page of ratios: what was measured, against what, the bar, and what came out.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "bench/Measure.h"

namespace BX::bench {

enum class Bar { AtMost, AtLeast };

struct Row {
  std::string what;
  std::string against;
  Bar bar = Bar::AtMost;
  double limit = 0;
  double got = 0;
  std::string unit;    // of `limit` and `got`; empty for a ratio
  std::string detail;  // the absolute figures of this run

  bool met() const { return bar == Bar::AtMost ? got <= limit : got >= limit; }
};

// Three significant digits.
std::string rounded(double value);

// The machine, how often was measured, and the rows.
void writeTable(std::ostream& out, const std::vector<Row>& rows, int rounds);

// The machine and the build by what counts for speed: processor, cores, kernel, compiler.
std::string machine();

}  // namespace BX::bench
