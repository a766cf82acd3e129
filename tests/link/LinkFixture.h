// A link of ours, joined to the simulated device by a line that a test disturbs.
#pragma once

#include <gmock/gmock.h>

#include "bx/BXSerialCom.h"
#include "tests/support/DisturbedLine.h"
#include "tests/support/Event.h"
#include "tests/support/Hex.h"

namespace BX {

using Texts = std::vector<std::string>;

class LinkTest : public testing::Test {
 protected:
  void start(sim::Options options = {}) {
    com.reset();
    device.reset();
    device = std::make_unique<test::DisturbedDevice>(std::move(options));
    com = std::make_unique<BXSerialCom>();
    com->initializePort(device->port);
    ASSERT_TRUE(com->openPort());
  }
  ~LinkTest() override {
    com.reset();
    link::setOptions({});
  }
  void startStoring(std::size_t records) {
    sim::Options options;
    options.stored.assign(records, {0, 0, test::bytesOf("CA6A")});
    start(std::move(options));
    ASSERT_TRUE(com->setDeviceMode(BXSerialCom::TRANSFER, false));
  }
  bool downloadPage(const std::function<void()>& handler) {
    auto request = test::bytesOf("62000062");
    return com->sendDownloadRequest(request, handler);
  }
  std::string reason() const { return link::lastError(device->port); }

  std::unique_ptr<test::DisturbedDevice> device;
  std::unique_ptr<BXSerialCom> com;
  Texts received;
  const std::function<void()> keep = [this] { received.push_back(test::hexOf(com->getReceivedBytes())); };
};

}  // namespace BX
