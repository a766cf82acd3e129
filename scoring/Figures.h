// The figures of a session for other programs. docs/scoring.md tells their keys.
#pragma once

#include <span>
#include <string>

#include "scoring/Scores.h"

namespace BX::scoring {

// "edge" or "centre": what is told, and what a command line takes.
const char* nameOf(Gauge gauge);

// How it is counted, as a sentence for people.
std::string ruleOf(const Face& face, Gauge gauge);

// One JSON object.
std::string figuresOf(const Face& face, Gauge gauge, std::span<const Score> scores);

}  // namespace BX::scoring
