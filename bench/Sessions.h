// What is carried: records as devices store and stream them, from the built-in shooter, and targets.
#pragma once

#include <string>
#include <vector>

#include "morva/MORVADataTypeJSON.h"
#include "simulator/Simulator.h"

namespace BX::bench {

// The first `count` records of a session in which no target is in use.
std::vector<sim::Bytes> shooterRecords(std::size_t count);

// The first shot among them.
sim::Bytes shotRecord();

// `count` records, spread evenly over `pages` pages.
std::vector<sim::StoredRecord> storedSession(std::size_t count, std::size_t pages);

// A document of examples/, read from the folder of the sources. A target is taken whole: of each key that one lacks the
// library writes a line to standard error, which takes longer than all the rest.
MORVA::MORVADataTypeJSON exampleDocument(const std::string& name);

}  // namespace BX::bench
