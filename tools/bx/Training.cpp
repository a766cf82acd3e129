#include "Training.h"

#include <thread>

#include "Interrupt.h"
#include "Records.h"

namespace BX::tool {

namespace {

constexpr std::chrono::milliseconds pollInterval{5};

class Training {
 public:
  Training(Connection& connection, const TrainingLimits& limits, const std::function<bool(const Json&)>& take)
      : connection_(connection), limits_(limits), take_(take), start_(std::chrono::steady_clock::now()) {}

  void follow() {
    auto& link = connection_.device().getSerialCom();
    while (!isOver()) {
      const bool streams = link.getStreaming();  // asked first: what came before the end is taken below
      takeArrived();
      if (!streams) return;
      std::this_thread::sleep_for(pollInterval);
    }
  }

  void takeArrived() {
    for (const auto& record : connection_.device().takeTrainingFrames()) {
      if (!wantsMore_) return;
      if (isShot(record)) ++shots_;
      wantsMore_ = take_(record) && (limits_.shots == 0 || shots_ < limits_.shots);
    }
  }

 private:
  bool isOver() const {
    const bool late = limits_.time && std::chrono::steady_clock::now() - start_ >= *limits_.time;
    return !wantsMore_ || late || interrupted();
  }

  Connection& connection_;
  const TrainingLimits& limits_;
  const std::function<bool(const Json&)>& take_;
  const std::chrono::steady_clock::time_point start_;
  std::size_t shots_ = 0;
  bool wantsMore_ = true;
};

}  // namespace

void train(Connection& connection, const TrainingLimits& limits, const std::function<bool(const Json&)>& take) {
  auto& manager = connection.manager();
  connection.begin();
  manager.startTraining(connection.port());
  if (connection.failed()) {
    // The library listens all the same; a device that refused keeps its mode.
    manager.getDevice(connection.port()).stopThread();
    connection.fail("start training");
  }
  Training training(connection, limits, take);
  training.follow();
  const bool lost = connection.failed();
  if (!lost) manager.stopTraining(connection.port());
  training.takeArrived();
  if (connection.failed()) connection.fail(lost ? "training" : "stop training");
}

}  // namespace BX::tool
