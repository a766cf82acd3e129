// What is measured. Each section gives its rows of the page.
#pragma once

#include <string>
#include <vector>

#include "bench/Page.h"

namespace BX::bench {

struct Setting {
  int rounds = 9;
  std::string simulator;  // the program bx-sim
};

using Rows = std::vector<Row>;

Rows measureFrames(const Setting& setting);     // the bytes that the link adds
Rows measurePaced(const Setting& setting);      // acknowledged frames on a line of a usual speed
Rows measureUnpaced(const Setting& setting);    // the same as fast as they go
Rows measureDownloads(const Setting& setting);  // stored sessions over such lines
Rows measureMemory(const Setting& setting);     // what they take
Rows measureCodec(const Setting& setting);      // a record's decoding
Rows measureFetching(const Setting& setting);   // taking streamed records out
Rows measurePolling(const Setting& setting);    // the same through the C interface
Rows measureRange(const Setting& setting);      // many devices at once
Rows measureLatency(const Setting& setting);    // how soon a shot is there
Rows measureGrowth(const Setting& setting);     // what more records, rows and devices cost

}  // namespace BX::bench
