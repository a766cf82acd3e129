#include "bench/TerminalDevice.h"

#include <poll.h>
#include <unistd.h>

#include <array>

namespace BX::bench {

namespace {

sim::Options silentInTraining(sim::Options options) {
  options.stream.emplace();
  return options;
}

std::chrono::steady_clock::time_point now() { return std::chrono::steady_clock::now(); }

}  // namespace

TerminalDevice::TerminalDevice(sim::Options options)
    : options_(silentInTraining(std::move(options))),
      model_(options_),
      station_(link::Role::Responder, {.baud = 0, .resend = options_.resend}) {}

void TerminalDevice::serve(const std::function<bool()>& over) {
  for (;;) {
    pollfd far{terminal_.far(), POLLIN, 0};
    if (::poll(&far, 1, 1) > 0 && (far.revents & POLLIN) != 0) {
      receive();
    } else {
      station_.advance(now());
      settle();
      if (over()) return;
    }
  }
}

void TerminalDevice::stream(std::span<const std::uint8_t> payload) {
  station_.send({link::streamTag, false, sim::Bytes(payload.begin(), payload.end())}, now());
  settle();
}

void TerminalDevice::receive() {
  std::array<std::uint8_t, 4096> buffer{};
  const ssize_t size = ::read(terminal_.far(), buffer.data(), buffer.size());
  if (size <= 0) return;
  const auto bytes = std::span(buffer).first(static_cast<std::size_t>(size));
  decoder_.feed(bytes, [this](std::span<const std::uint8_t> content) { station_.receive(content, now()); });
  settle();
}

void TerminalDevice::settle() {
  for (bool more = true; more;) {
    const link::Station::Output output = station_.take(now());
    for (const sim::Bytes& frame : output.frames) writeAll(terminal_.far(), frame);
    for (const link::Message& request : output.delivered) {
      const auto answer = model_.answer(request.payload);
      for (std::size_t i = 0; i < answer.size(); ++i) {
        station_.send({request.tag, i + 1 < answer.size(), answer[i]}, now());
      }
    }
    more = !output.delivered.empty();
  }
}

}  // namespace BX::bench
