#include "simulator/Simulator.h"

#include "simulator/Core.h"

namespace BX::sim {

Simulator::Simulator(Options options, std::unique_ptr<link::Transport> line)
    : core_(std::make_unique<Core>(std::move(options), std::move(line))) {}

Simulator::~Simulator() = default;

std::vector<std::string> Simulator::transcript() const { return core_->transcript().lines(); }

bool Simulator::awaitTranscript(const std::string& prefix, std::size_t count, std::chrono::milliseconds timeout) const {
  return core_->transcript().await(prefix, count, timeout);
}

void Simulator::hangUp() { core_->hangUp(); }

void Simulator::setFaults(const std::vector<FaultRule>& faults) { core_->setFaults(faults); }

std::size_t Simulator::faultsWaiting() const { return core_->faultsWaiting(); }

std::size_t Simulator::frameCount(Direction direction, FrameKind kind) const {
  return core_->frameCount(direction, kind);
}

}  // namespace BX::sim
