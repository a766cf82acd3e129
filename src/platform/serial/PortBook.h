// What the link knows of ports by name, for the whole process: options, transports, last failures and counters.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "bx/BXSerialLink.h"
#include "platform/codec/Trace.h"

namespace BX::link {

struct Counters {
  std::atomic<std::uint64_t> payloadsSent{0};
  std::atomic<std::uint64_t> payloadsReceived{0};
  std::atomic<std::uint64_t> framesSent{0};
  std::atomic<std::uint64_t> framesResent{0};
  std::atomic<std::uint64_t> framesReceived{0};
  std::atomic<std::uint64_t> framesDamaged{0};
  std::atomic<std::uint64_t> answersLate{0};
  std::atomic<std::uint64_t> payloadsDropped{0};
};

// A failure in the words of its kind; NoAnswer and HungUp add `detail`, a time and a reason.
Failure failureOf(FailureKind kind, const std::string& detail = {});
// Such as "2.0 s".
std::string secondsText(std::chrono::milliseconds time);
void setLastFailure(const std::string& port, Failure failure);

// The counters that statistics(port) reads from now on.
void setCounters(const std::string& port, std::shared_ptr<Counters> counters);

// What traces an opening of this port; null when there is no trace file.
std::unique_ptr<Trace> newTrace(const std::string& port);

// The transport set for this name, or null when it is a serial port.
std::unique_ptr<Transport> transportFor(const std::string& port);

}  // namespace BX::link
