#include "Training.h"

#include <chrono>
#include <thread>
#include <utility>

#include "Interrupt.h"

namespace BX::tool {

namespace {

using Take = std::function<bool(std::vector<Json> records)>;

class Stream {
 public:
  Stream(BXDevice& device, const Take& take) : device_(device), take_(take) {}

  // Whether the stream ended by itself.
  bool follow(const std::function<bool()>& goesOn, std::chrono::milliseconds between) {
    while (wantsMore_ && !interrupted() && goesOn()) {
      const bool streams =
          device_.getSerialCom().getStreaming();  // asked first: what came before the end is taken below
      takeArrived();
      if (!streams) return true;
      std::this_thread::sleep_for(between);
    }
    return false;
  }

  void takeArrived() {
    auto records = device_.takeTrainingFrames();
    if (wantsMore_ && !records.empty()) wantsMore_ = take_(std::move(records));
  }

 private:
  BXDevice& device_;
  const Take& take_;
  bool wantsMore_ = true;
};

}  // namespace

void startTraining(Connection& connection) {
  if (interrupted()) connection.fail("start training");
  connection.goOnWhenInterrupted();  // records may come, and be acknowledged, before the answer
  connection.begin();
  connection.manager().startTraining(connection.port());
  if (connection.failed()) {
    // The library listens all the same; a device that refused keeps its mode.
    connection.device().stopThread();
    connection.fail("start training");
  }
}

std::optional<TrainingLoss> followTraining(Connection& connection, const Take& take,
                                           const std::function<bool()>& goesOn, std::chrono::milliseconds between) {
  Stream stream(connection.device(), take);
  // A failure that ends no stream, such as a full queue, is told at the end.
  const bool lost = stream.follow(goesOn, between) && connection.failed();
  if (!lost) connection.manager().stopTraining(connection.port());
  stream.takeArrived();
  if (!connection.failed()) return std::nullopt;
  return TrainingLoss{link::lastFailure(connection.port()), !lost};
}

}  // namespace BX::tool
