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

// ---- Of the registry: in the stream handler of the host's own, beside a stop or not, and when a device hangs up.

struct ManagerDeed {
  const char* name;
  std::function<void(BXDeviceManager&)> happen;
};

const std::vector<ManagerDeed> managerDeeds = {
    {"remove", [](auto& manager) { manager.internalRemoveDevice(port); }},
    {"disconnect", [](auto& manager) { manager.disconnectDevice(port); }},
    {"disconnect all", [](auto& manager) { manager.disconnectDevices(); }},
    {"stop", [](auto& manager) { manager.stopTraining(port); }},
    {"stop all", [](auto& manager) { manager.stopTraining(); }},
    {"start", [](auto& manager) { manager.startTraining(port); }},
    {"stop and start",
     [](auto& manager) {
       manager.stopTraining(port);
       manager.startTraining(port);
     }},
    {"connect", [](auto& manager) { manager.connectDevice(port, true); }},
    {"remove, connect and train",
     [](auto& manager) {
       manager.removeDevice(port);
       manager.addDevice(port, "");
       manager.connectDevice(port, true);
       manager.startTraining(port);
     }},
    {"change the mode", [](auto& manager) { manager.setDeviceMode(port, BXSerialCom::INFORMATION); }},
    {"download", [](auto& manager) { manager.downloadDeviceTrainingSession(port); }},
    {"take", [](auto& manager) { manager.takeTrainingFrames(port); }},
    {"copy", [](auto& manager) { const BXDeviceManager copy(manager); }},
};

// These end the device, and so are no business of a second thread.
const std::vector<ManagerDeed> endings = {
    {"assign", [](auto& manager) { manager = BXDeviceManager(manager); }},
    {"destroy", [](auto& manager) { manager.~BXDeviceManager(), new (&manager) BXDeviceManager(); }},
};

class ManagerCallback : public testing::TestWithParam<const char*> {
 protected:
  // The first call of the callback does it.
  void happen(const ManagerDeed& deed) {
    SCOPED_TRACE(deed.name);
    DisturbedDevice device(streaming(100'000));
    BXDeviceManager manager;
    connect(manager);
    BXDevice& target = manager.getDevice(port);
    Event begun;
    Event done;
    const auto call = [&, first = std::make_shared<std::atomic_flag>()] {
      if (first->test_and_set()) return;
      begun.set();
      deed.happen(manager);
      done.set();
    };
    const std::string place = GetParam();
    if (place == "Removal") target.setRemoveDeviceCallback([call](auto) { return call(), true; });
    manager.startTraining(port);
    if (place == "Removal") device.hostsLine.hangUp();
    if (place != "Removal") target.getSerialCom().setProcessTrainingCallback(call);
    ASSERT_TRUE(begun.wait());
    if (place == "StreamBesideAStop") manager.stopTraining(port);
    ASSERT_TRUE(done.wait());
    manager.stopTraining(port);
    manager.disconnectDevices();
    expectUsable();
  }
};

TEST_P(ManagerCallback, MayDoAnything) {
  link::setOptions({.reply = std::chrono::milliseconds(200)});  // what a mode request waits for a handler at most
  for (const ManagerDeed& deed : managerDeeds) happen(deed);
  if (GetParam() != std::string("StreamBesideAStop")) {
    for (const ManagerDeed& deed : endings) happen(deed);
  }
  link::setOptions({});
}

INSTANTIATE_TEST_SUITE_P(All, ManagerCallback, testing::Values("Removal", "Stream", "StreamBesideAStop"),
                         [](auto& tested) { return std::string(tested.param); });

}  // namespace
}  // namespace BX::test
