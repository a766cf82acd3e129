// Records as devices store and stream them, from the built-in shooter.
#pragma once

#include <vector>

#include "simulator/Simulator.h"

namespace BX::bench {

// The first `count` records of a session in which no target is in use.
std::vector<sim::Bytes> shooterRecords(std::size_t count);

// The first shot among them.
sim::Bytes shotRecord();

// `count` records, spread evenly over `pages` pages.
std::vector<sim::StoredRecord> storedSession(std::size_t count, std::size_t pages);

}  // namespace BX::bench
