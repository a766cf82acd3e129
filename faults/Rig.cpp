#include "faults/Rig.h"

#include <atomic>
#include <utility>

#include "morva/KeyedAccess.h"
#include "platform/time/TimeSeam.h"

namespace BX::faults {

void useTimeouts(const link::Options& options) {
  link::setOptions(options);
  platform::replaceTime({[](std::chrono::milliseconds) {}, {}});
}

sim::Bytes measurement(std::size_t index) {
  const auto byte = [index](unsigned shift) { return static_cast<std::uint8_t>(index >> shift); };
  return {0xCA, 0x65, 0, 0, 0, 1, 0, 2, byte(24), byte(16), byte(8), byte(0), 0, 0, 0, 250, 0};
}

std::size_t indexOf(const MORVA::MORVADataTypeJSON& document) {
  const auto high = static_cast<std::uint16_t>(MORVA::getInteger(document, "Tilt"));
  const auto low = static_cast<std::uint16_t>(MORVA::getInteger(document, "Rotation"));
  return std::size_t{high} << 16U | low;
}

// The link's last errors are kept by port: each rig has its own.
Rig::Rig(sim::Options options)
    : options_(std::move(options)), port_([] {
        static std::atomic<int> count = 0;
        return "faults" + std::to_string(++count);
      }()) {
  options_.resend = link::getOptions().resend;
  simulator = std::make_unique<sim::Simulator>(options_, line_.deviceEnd());
  link::setTransport(port_, [this](const std::string&) { return line_.hostEnd(); });
  device.setDevicePort(port_);
}

Rig::~Rig() {
  com().closePort();
  link::setTransport(port_, {});
}

void Rig::powerOn() {
  simulator = std::make_unique<sim::Simulator>(options_, line_.deviceEnd());
  transcriptRead_ = 0;
}

std::string Rig::error() { return device.hasError() ? link::lastError(port_) : ""; }

std::vector<std::string> Rig::newRequests() {
  const auto lines = simulator->transcript();
  std::vector<std::string> requests;
  for (; transcriptRead_ < lines.size(); ++transcriptRead_) {
    if (lines[transcriptRead_].starts_with("> ")) requests.push_back(lines[transcriptRead_].substr(2));
  }
  return requests;
}

}  // namespace BX::faults
