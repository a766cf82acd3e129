// Everything that a host may do from inside a callback, in every callback.
#include <string>

#include "bx/BXSerialCom.h"
#include "tests/lifetimes/Lifetimes.h"

namespace BX::test {
namespace {

using Com = std::unique_ptr<BXSerialCom>;

// ---- Of the link.

// Something that leads to a callback; it may return before the callback has run.
struct Call {
  const char* name;
  std::function<void(BXSerialCom&, DisturbedDevice&, std::function<void()> deed)> make;
};

void stream(BXSerialCom& com) {
  com.setDeviceMode(BXSerialCom::FIELD_STREAM, false);
  com.startSessionListening();
}

const std::vector<Call>& calls() {
  static const std::vector<Call> all = {
      {"reply",
       [](BXSerialCom& com, DisturbedDevice&, auto deed) {
         com.setCallBackFunction(deed);
         com.poll();
       }},
      {"information", [](BXSerialCom& com, DisturbedDevice&,
                         auto deed) { com.sendDeviceInfoCommand(BXSerialCom::DEVICE_INFO_ID, deed); }},
      {"acknowledgement",
       [](BXSerialCom& com, DisturbedDevice&, auto deed) {
         std::vector<unsigned char> bytes{0x70, 0x70};
         com.sendBytesAckReturn(bytes, 0x70, deed, false);
       }},
      {"page",
       [](BXSerialCom& com, DisturbedDevice&, auto deed) {
         com.setDeviceMode(BXSerialCom::TRANSFER, false);
         std::vector<unsigned char> bytes{0x62, 0x00, 0x00, 0x62};
         com.sendDownloadRequest(bytes, deed);
       }},
      {"stream",
       [](BXSerialCom& com, DisturbedDevice&, auto deed) {
         com.setProcessTrainingCallback(deed);
         stream(com);
       }},
      {"removal",
       [](BXSerialCom& com, DisturbedDevice& device, auto deed) {
         com.setRemoveDeviceCallback([deed](const char*) {
           deed();
           return true;
         });
         stream(com);
         device.trigger.hangUp();
       }},
  };
  return all;
}

struct Deed {
  const char* name;
  std::function<void(Com&)> happen;
};

void reopen(BXSerialCom& com) {
  com.closePort();
  EXPECT_TRUE(com.openPort());
}

const std::vector<Deed>& deeds() {
  static const std::vector<Deed> all = {
      {"close", [](Com& com) { com->closePort(); }},
      {"destroy", [](Com& com) { com.reset(); }},
      {"assign", [](Com& com) { *com = BXSerialCom(); }},
      {"reopen",
       [](Com& com) {
         reopen(*com);
         EXPECT_TRUE(com->sendStartupCommand());
       }},
      {"exchange", [](Com& com) { com->sendStartupCommand(); }},
      {"rest", [](Com& com) { com->setDeviceMode(BXSerialCom::RESTING, true); }},
      {"stop listening", [](Com& com) { com->setRunning(false); }},
      {"stream anew",
       [](Com& com) {
         reopen(*com);
         stream(*com);
       }},
      {"stop and stream",
       [](Com& com) {
         com->setDeviceMode(BXSerialCom::RESTING, true);
         com->setRunning(false);
         stream(*com);
       }},
      {"change the callbacks",
       [](Com& com) {
         com->setCallBackFunction({});
         com->setProcessTrainingCallback({});
         com->setRemoveDeviceCallback({});
       }},
      {"copy", [](Com& com) { const BXSerialCom copy(*com); }},
      {"throw", [](Com&) { throw std::runtime_error("thrown by a callback"); }},
  };
  return all;
}

class LinkCallbacks : public testing::TestWithParam<std::size_t> {};

TEST_P(LinkCallbacks, MayDoAnything) {
  const Call& call = calls()[GetParam()];
  for (const Deed& deed : deeds()) {
    SCOPED_TRACE(std::string(deed.name) + " in " + call.name);
    sim::Options options = streaming(20);
    for (int i = 0; i < 3; ++i) options.stored.push_back({0, 0, {0xCA, 0x41}});
    DisturbedDevice device(options);
    auto com = std::make_unique<BXSerialCom>();
    com->initializePort(device.port);
    ASSERT_TRUE(com->openPort());
    Event done;
    std::atomic_flag begun;
    call.make(*com, device, [&] {
      if (begun.test_and_set()) return;
      struct Done {
        Event& event;
        ~Done() { event.set(); }
      } const finally{done};
      deed.happen(com);
    });
    ASSERT_TRUE(done.wait());
    if (com) {
      com->setDeviceMode(BXSerialCom::RESTING, true);
      com->setRunning(false);
      await([&] { return !com->getStreaming(); });
    }
    com.reset();
    BXSerialCom next;
    next.initializePort(device.port);
    ASSERT_TRUE(next.openPort()) << link::lastError(device.port);
    EXPECT_TRUE(next.poll()) << link::lastError(device.port);
  }
}

INSTANTIATE_TEST_SUITE_P(All, LinkCallbacks, testing::Range(std::size_t{0}, std::size_t{6}),
                         [](const auto& tested) { return std::string(calls()[tested.param].name); });

class CallbackBytes : public testing::Test {
 protected:
  void SetUp() override {
    com.initializePort(device.port);
    ASSERT_TRUE(com.openPort());
  }
  DisturbedDevice device{streaming(1)};
  BXSerialCom com;
};

TEST_F(CallbackBytes, AreThoseThatTheCallbackIsCalledFor) {
  Event done;
  std::vector<std::string> seen;
  const auto see = [&] { seen.push_back(hexOf(com.getReceivedBytes())); };
  com.setProcessTrainingCallback([&] {
    see();
    com.setCallBackFunction(see);
    com.poll();
    see();
    done.set();
  });
  stream(com);
  ASSERT_TRUE(done.wait());
  EXPECT_EQ(seen, (std::vector<std::string>{"CA41", "5970", "CA41"}));
}

TEST_F(CallbackBytes, AreKeptApartWhenTwoThreadsAsk) {
  const auto ask = [&](const char* wanted, const std::string& item) {
    for (std::size_t i = 0; i < scaled(300); ++i) {
      com.sendDeviceInfoCommand(item, [&] { EXPECT_EQ(hexOf(com.getReceivedBytes()).substr(0, 6), wanted); });
    }
  };
  std::thread other([&] { ask("596302", BXSerialCom::DEVICE_INFO_ID); });
  ask("596300", BXSerialCom::DEVICE_INFO_SERIAL_NUMBER);
  other.join();
}

// ---- Of the registry: a device that hangs up asks its host.

struct ManagerDeed {
  const char* name;
  std::function<void(std::unique_ptr<BXDeviceManager>&)> happen;
};

constexpr auto port = "loopback";

const std::vector<ManagerDeed>& managerDeeds() {
  static const std::vector<ManagerDeed> all = {
      {"nothing", [](auto&) {}},
      {"remove", [](auto& manager) { EXPECT_TRUE(manager->internalRemoveDevice(port)); }},
      {"disconnect all", [](auto& manager) { manager->disconnectDevices(); }},
      {"stop", [](auto& manager) { manager->stopTraining(port); }},
      {"stop all", [](auto& manager) { manager->stopTraining(); }},
      {"connect", [](auto& manager) { EXPECT_NE(manager->connectDevice(port, true).toString(), "{}"); }},
      {"connect and train",
       [](auto& manager) {
         manager->connectDevice(port, true);
         manager->startTraining(port);
       }},
      {"remove and connect",
       [](auto& manager) {
         manager->removeDevice(port);
         manager->addDevice(port, "");
         manager->connectDevice(port, true);
         manager->startTraining(port);
       }},
      {"download", [](auto& manager) { manager->downloadDeviceTrainingSession(port); }},
      {"copy", [](auto& manager) { const BXDeviceManager copy(*manager); }},
      {"assign", [](auto& manager) { *manager = BXDeviceManager(*manager); }},
      {"destroy", [](auto& manager) { manager.reset(); }},
  };
  return all;
}

TEST(RemoveCallback, MayDoAnything) {
  std::cout.setstate(std::ios::failbit);
  for (const ManagerDeed& deed : managerDeeds()) {
    SCOPED_TRACE(deed.name);
    DisturbedDevice device(streaming(20));
    auto manager = std::make_unique<BXDeviceManager>();
    manager->addDevice(port, "");
    manager->connectDevice(port, true);
    Event done;
    manager->getDevice(port).setRemoveDeviceCallback([&](const char*) {
      deed.happen(manager);
      done.set();
      return true;
    });
    manager->startTraining(port);
    device.trigger.hangUp();
    ASSERT_TRUE(done.wait());
    manager.reset();
    BXDeviceManager next;
    next.addDevice(port, "");
    EXPECT_NE(next.connectDevice(port, true).toString(), "{}") << link::lastError(port);
  }
  std::cout.clear();
}

}  // namespace
}  // namespace BX::test
