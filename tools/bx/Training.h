// A stream, followed from its start to its end.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <vector>

#include "Connection.h"

namespace BX::tool {

struct TrainingLoss {
  link::Failure failure;
  bool atEnd = false;  // not what ended it: it could not be ended on the device, or has not delivered everything
};

// Throws Failure. From now on the connection's operations are no longer cancelled by an interrupt.
void startTraining(Connection& connection);

// Gives what has arrived to `take`, each time after `between`, in order, each record once, until `take` wants no more
// (false), `goesOn` says no (asked as often), the program is interrupted, or the stream ends. Then ends training and
// gives what had arrived by then, unless no more was wanted. The result is nothing when all is well.
std::optional<TrainingLoss> followTraining(
    Connection& connection, const std::function<bool(std::vector<Json> records)>& take,
    const std::function<bool()>& goesOn = [] { return true; },
    std::chrono::milliseconds between = std::chrono::milliseconds(5));

}  // namespace BX::tool
