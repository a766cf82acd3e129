// A stream, followed from its start to its end.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>

#include "Connection.h"

namespace BX::tool {

struct TrainingLimits {
  std::size_t shots = 0;  // 0: no limit
  std::optional<std::chrono::duration<double>> time = {};
};

// Starts training and gives each record to `take`, in order, each once, until `take` wants no more (false), a limit is
// reached, the program is interrupted, or the stream ends. Then ends the stream and gives what had arrived by then,
// except after the last shot that was asked for. Throws Failure when the stream cannot be started or ended, or is lost.
void train(Connection& connection, const TrainingLimits& limits, const std::function<bool(const Json& record)>& take);

}  // namespace BX::tool
