// What the tests of devices and of their registry share.
#pragma once

#include <gmock/gmock.h>

#include <chrono>
#include <iostream>
#include <mutex>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "bx/BXDevice.h"
#include "bx/DebugHook.h"
#include "device/DebugLog.h"
#include "tests/support/Hex.h"
#include "tests/support/LoopbackDevice.h"

namespace BX::test {

using Json = MORVA::MORVADataTypeJSON;

inline Json parsed(const std::string& text) {
  Json document;
  if (!document.parseString(text)) throw std::runtime_error("not JSON: " + text);
  return document;
}

// What the simulated device reports of itself when it is connected.
inline const std::string simulatedInformation =
    R"({"SerialNumber":"SIM-000001","DeviceID":"BX-SIM","Program":"V1.00","Date":"21.11.26","Time":"12:00:00")";
inline const std::string simulatedSettings =
    simulatedInformation +
    R"(,"Mounting":"ABOVE","ArrowButtonsEnabled":true,"EvaluateSilhouette":false,"CountRingScore":false,)"
    R"("RegisterAllTriggers":true,"TargetReceiverHitIndicationBeam":true,"SleepWakeUp":true})";

inline sim::ScriptedReply scripted(const std::string& request, const std::string& reply) {
  return {bytesOf(request), bytesOf(reply)};
}
inline sim::ScriptedReply refusing(const std::string& request) { return {bytesOf(request), {}}; }

inline sim::Options withScript(std::vector<sim::ScriptedReply> script) {
  sim::Options options;
  options.script = std::move(script);
  return options;
}

inline sim::Options streaming(const std::vector<std::string>& payloads) {
  sim::Options options;
  options.stream.emplace();
  for (const auto& payload : payloads) options.stream->push_back(bytesOf(payload));
  options.rate = 2000;
  return options;
}

// Shot 9 at ring target 5; as long as a shot must be.
inline const std::string shotPayload = "CA6A09 00 0001 0002 0000 0000 0000 05 FF 03 00 000001 00 0000 000000 00 0000";

template <typename Condition>
void await(Condition condition) {
  while (!condition()) std::this_thread::yield();
}

// Everything that is logged while it lives, on any thread.
class LogCapture {
 public:
  LogCapture() {
    kept().clear();
    debugFunction = [](const char* text) {
      const std::lock_guard lock(mutex());
      kept().emplace_back(text);
    };
  }
  ~LogCapture() { debugFunction = before_; }
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  static std::vector<std::string> texts() {
    const std::lock_guard lock(mutex());
    return kept();
  }

 private:
  static std::vector<std::string>& kept() {
    static std::vector<std::string> texts;
    return texts;
  }
  static std::mutex& mutex() {
    static std::mutex guard;
    return guard;
  }

  void (*before_)(const char*) = debugFunction;
};

// What is written to a stream while it lives.
class StreamCapture {
 public:
  explicit StreamCapture(std::ostream& stream) : stream_(stream), before_(stream.rdbuf(kept_.rdbuf())) {}
  ~StreamCapture() { stream_.rdbuf(before_); }
  StreamCapture(const StreamCapture&) = delete;
  StreamCapture& operator=(const StreamCapture&) = delete;

  std::string text() const { return kept_.str(); }

 private:
  std::ostream& stream_;
  std::ostringstream kept_;
  std::streambuf* before_;
};

}  // namespace BX::test
