// Everything that a host may do from inside a callback, in every callback.
#include "tests/lifetimes/Lifetimes.h"

namespace BX::test {
namespace {

constexpr auto port = "loopback";

// ---- Of the link.

using Com = std::unique_ptr<BXSerialCom>;

void stream(BXSerialCom& com) {
  com.setDeviceMode(BXSerialCom::FIELD_STREAM, false);
  com.startSessionListening();
}

// Something that leads to a callback; it may return before the callback has run.
struct Call {
  const char* name;
  std::function<void(BXSerialCom&, DisturbedDevice&, const std::function<void()>& deed)> make;

  friend void PrintTo(const Call& call, std::ostream* out) { *out << call.name; }
};

const std::vector<Call> calls = {
    {"reply",
     [](auto& com, auto&, const auto& deed) {
       com.setCallBackFunction(deed);
       com.poll();
     }},
    {"page",
     [](auto& com, auto&, const auto& deed) {
       com.setDeviceMode(BXSerialCom::TRANSFER, false);
       auto bytes = bytesOf("62000062");
       com.sendDownloadRequest(bytes, deed);
     }},
    {"stream",
     [](auto& com, auto&, const auto& deed) {
       com.setProcessTrainingCallback(deed);
       stream(com);
     }},
    {"removal",
     [](auto& com, auto& device, const auto& deed) {
       com.setRemoveDeviceCallback([deed](const char*) { return deed(), true; });
       stream(com);
       device.hostsLine.hangUp();
     }},
};

struct Deed {
  const char* name;
  std::function<void(Com&)> happen;
};

const std::vector<Deed> deeds = {
    {"close", [](auto& com) { com->closePort(); }},
    {"destroy", [](auto& com) { com.reset(); }},
    {"assign", [](auto& com) { *com = BXSerialCom(); }},
    {"exchange", [](auto& com) { com->sendStartupCommand(); }},
    {"rest", [](auto& com) { com->setDeviceMode(BXSerialCom::RESTING, true); }},
    {"stop listening", [](auto& com) { com->setRunning(false); }},
    {"stream anew",
     [](auto& com) {
       com->closePort();
       EXPECT_TRUE(com->openPort());
       stream(*com);
     }},
    {"stop and stream",
     [](auto& com) {
       com->setDeviceMode(BXSerialCom::RESTING, true);
       com->setRunning(false);
       stream(*com);
     }},
    {"change the callbacks",
     [](auto& com) {
       com->setCallBackFunction({});
       com->setProcessTrainingCallback({});
       com->setRemoveDeviceCallback({});
     }},
    {"copy", [](auto& com) { const BXSerialCom copy(*com); }},
    {"throw", [](auto&) { throw std::runtime_error("thrown by a callback"); }},
};

class LinkCallback : public testing::TestWithParam<Call> {};

TEST_P(LinkCallback, MayDoAnything) {
  for (const Deed& deed : deeds) {
    SCOPED_TRACE(deed.name);
    sim::Options options = streaming(20);
    options.stored.assign(3, {0, 0, {0xCA, 0x41}});
    DisturbedDevice device(options);
    auto com = std::make_unique<BXSerialCom>();
    com->initializePort(port);
    ASSERT_TRUE(com->openPort());
    Event done;
    std::atomic_flag begun;
    GetParam().make(*com, device, [&] {
      if (begun.test_and_set()) return;
      const std::shared_ptr<Event> finally(&done, [](Event* event) { event->set(); });
      deed.happen(com);
    });
    ASSERT_TRUE(done.wait());
    if (com) {
      com->setDeviceMode(BXSerialCom::RESTING, true);
      com->setRunning(false);
      await([&] { return !com->getStreaming(); });
    }
    com.reset();
    expectUsable();
  }
}

INSTANTIATE_TEST_SUITE_P(All, LinkCallback, testing::ValuesIn(calls), [](auto& tested) { return tested.param.name; });

class CallbackBytes : public testing::Test {
 protected:
  void SetUp() override {
    com.initializePort(port);
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

const std::vector<ManagerDeed> managerDeeds = {
    {"remove", [](auto& manager) { EXPECT_TRUE(manager->internalRemoveDevice(port)); }},
    {"disconnect all", [](auto& manager) { manager->disconnectDevices(); }},
    {"stop all", [](auto& manager) { manager->stopTraining(); }},
    {"connect and train",
     [](auto& manager) {
       connect(*manager);
       manager->startTraining(port);
     }},
    {"remove and connect",
     [](auto& manager) {
       manager->removeDevice(port);
       connect(*manager);
       manager->startTraining(port);
     }},
    {"download", [](auto& manager) { manager->downloadDeviceTrainingSession(port); }},
    {"assign", [](auto& manager) { *manager = BXDeviceManager(*manager); }},
    {"destroy", [](auto& manager) { manager.reset(); }},
};

TEST(RemoveCallback, MayDoAnything) {
  for (const ManagerDeed& deed : managerDeeds) {
    SCOPED_TRACE(deed.name);
    DisturbedDevice device(streaming(20));
    auto manager = std::make_unique<BXDeviceManager>();
    connect(*manager);
    Event done;
    manager->getDevice(port).setRemoveDeviceCallback([&](const char*) {
      deed.happen(manager);
      done.set();
      return true;
    });
    manager->startTraining(port);
    device.hostsLine.hangUp();
    ASSERT_TRUE(done.wait());
    manager.reset();
    expectUsable();
  }
}

}  // namespace
}  // namespace BX::test
