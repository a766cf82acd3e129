// A device that is to train: connected, with its settings and its target, and so again after each loss.
#pragma once

#include <optional>
#include <string>

#include "Connection.h"
#include "Documents.h"
#include "Training.h"

namespace BX::tool {

// What an advice calls the ways to give a target, such as "--target FILE".
struct TargetWords {
  std::string file;
  std::string number;  // without the number itself: "--target-number "
};

class TrainingDevice {
 public:
  // With `targetNumber` the device's own target is used, and nothing is uploaded.
  TrainingDevice(Tool& tool, std::string port, Configuration configuration, std::optional<int> targetNumber)
      : tool_(tool), port_(std::move(port)), configuration_(std::move(configuration)), targetNumber_(targetNumber) {}

  // As far as a device that has all settings. Throws Failure.
  void connect();
  void disconnect() { connection_.reset(); }
  // Throws Failure.
  void start() { startTraining(*connection_); }

  // These need a device that is connected.
  Connection& connection() { return *connection_; }
  // What a session file begins with, but for its target.
  Json header() const;
  // What is wrong with the target in use, and what helps; empty: nothing is.
  std::string targetAdvice(const TargetWords& words);
  // When it is connected again, the same settings are written, those that were read included.
  void keepSettings();

  // That shots are decoded with; nothing when none is known.
  const std::optional<Json>& target() const { return target_; }

 private:
  Json settingsNow() const;
  void useStoredTarget(int number);

  Tool& tool_;
  const std::string port_;
  Configuration configuration_;
  const std::optional<int> targetNumber_;
  std::optional<Json> target_;
  std::optional<Connection> connection_;
};

}  // namespace BX::tool
