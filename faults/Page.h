// docs/reliability.md: what the matrix, the soak and the failing calls have shown.
#pragma once

#include <ostream>
#include <vector>

#include "faults/Cell.h"
#include "faults/FailingCalls.h"
#include "faults/Soak.h"

namespace BX::faults {

struct Report {
  std::vector<Cell> cells;
  std::chrono::duration<double> matrixTime{};
  SoakResult stream;
  SoakResult downloads;
  CallsResult calls;
};

// Cells, soaks and failing calls whose outcome is wrong.
std::size_t wrongIn(const Report& report);

void writePage(std::ostream& out, const Report& report);

}  // namespace BX::faults
