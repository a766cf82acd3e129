// docs/reliability.md: what the matrix, the soak and the failing calls have shown.
#pragma once

#include <string>
#include <vector>

#include "faults/Cell.h"
#include "faults/FailingCalls.h"
#include "faults/Soak.h"

namespace BX::faults {

struct Report {
  std::vector<Cell> cells;
  SoakResult stream;
  SoakResult downloads;
  CallsResult calls;
};

// Cells, soaks and failing calls whose outcome is wrong.
std::size_t wrongIn(const Report& report);

// `page` with its tables anew. Throws std::runtime_error when it lacks one.
std::string filled(std::string page, const Report& report);

}  // namespace BX::faults
