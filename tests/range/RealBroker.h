// A broker of a test: mosquitto on a port of its own, in a folder of its own.
#pragma once

#include <memory>
#include <string>

#include "tests/road/Program.h"
#include "tools/bx-range/Config.h"

namespace BX::test {

class RealBroker {
 public:
  RealBroker() { start(); }

  range::BrokerAddress address() const;
  // Kills it, as a power cut does.
  void kill();
  // At the same address as before.
  void start();

 private:
  const Folder folder_;
  int port_ = 0;
  std::unique_ptr<Program> program_;
};

}  // namespace BX::test
