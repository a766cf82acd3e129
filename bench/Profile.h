// The works that are profiled, against a device in another process so that only the host's share is counted.
#pragma once

#include <string>

namespace BX::bench {

// download: 2,000 stored records; stream: 2,000 records; upload: a ring and a silhouette target, ten times.
// `simulator` is the program bx-sim.
void runProfiled(const std::string& work, const std::string& simulator);

}  // namespace BX::bench
