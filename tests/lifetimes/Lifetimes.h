// What the tests of lifetimes share.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <iostream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "bx/BXDeviceManager.h"
#include "bx/BXSerialLink.h"
#include "tests/support/DisturbedLine.h"
#include "tests/support/Event.h"
#include "tests/support/Hex.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define BX_SANITIZED true
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define BX_SANITIZED true
#endif
#endif
#ifndef BX_SANITIZED
#define BX_SANITIZED false
#endif

namespace BX::test {

// Every random choice of these tests comes from here.
inline constexpr unsigned seed = 20261121;

// The library's own lines would bury what the tests say, which do not write through std::cout.
inline const bool quiet = (std::cout.setstate(std::ios::failbit), true);

// How often something is repeated; instrumented programs are several times slower.
constexpr std::size_t scaled(std::size_t count) { return BX_SANITIZED ? (count + 9) / 10 : count; }

inline sim::Options streaming(std::size_t count, double rate = 5000) {
  sim::Options options;
  options.keepTranscript = false;
  options.stream.emplace(count, sim::Bytes{0xCA, 0x41});
  options.rate = rate;
  return options;
}

inline void connect(BXDeviceManager& manager, const std::string& port = "loopback") {
  manager.addDevice(port, "");
  EXPECT_NE(manager.connectDevice(port, true).toString(), "{}") << link::lastError(port);
}

inline void expectUsable(const std::string& port = "loopback") {
  BXDeviceManager manager;
  connect(manager, port);
}

}  // namespace BX::test
