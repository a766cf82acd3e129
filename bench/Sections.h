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
Rows measureUploads(const Setting& setting);    // acknowledged frames on paced and unpaced lines
Rows measureDownloads(const Setting& setting);  // stored sessions: time, memory, growth
Rows measureCodec(const Setting& setting);      // a record's decoding
Rows measureStreams(const Setting& setting);    // fetching records, many devices, latency

}  // namespace BX::bench
