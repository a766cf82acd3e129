// A stream, followed from its start to its end.
#pragma once

#include <functional>
#include <optional>

#include "Connection.h"

namespace BX::tool {

struct TrainingLoss {
  link::Failure failure;
  bool atEnd = false;  // not what ended it: it could not be ended on the device, or has not delivered everything
};

// Throws Failure. From now on the connection's operations are no longer cancelled by an interrupt.
void startTraining(Connection& connection);

// Gives each record to `take`, in order, each once, until `take` wants no more (false), `goesOn` says no (asked every
// few milliseconds), the program is interrupted, or the stream ends. Then ends training and gives what had arrived by
// then, unless no more was wanted. The result is nothing when all is well.
std::optional<TrainingLoss> followTraining(
    Connection& connection, const std::function<bool(Json record)>& take,
    const std::function<bool()>& goesOn = [] { return true; });

}  // namespace BX::tool
