// Everything that a host may do from inside a callback: in the handlers of answers here, in those of streams and
// hang-ups below.
#include "tests/lifetimes/Operations.h"

namespace BX::test {
namespace {

// ---- Of the link.

using Com = std::unique_ptr<BXSerialCom>;

void stream(BXSerialCom& com) {
  com.setDeviceMode(BXSerialCom::FIELD_STREAM, false);
  com.startSessionListening();
}

// Exchanges whose answers reach a callback.
const std::vector<std::function<void(BXSerialCom&, const std::function<void()>& deed)>> calls = {
    [](auto& com, const auto& deed) {
      com.setCallBackFunction(deed);
      com.poll();
    },
    [](auto& com, const auto& deed) {
      com.setDeviceMode(BXSerialCom::TRANSFER, false);
      auto bytes = bytesOf("62000062");
      com.sendDownloadRequest(bytes, deed);
    },
};

const std::vector<std::pair<const char*, std::function<void(Com&)>>> deeds = {
    {"close", [](auto& com) { com->closePort(); }},
    {"destroy", [](auto& com) { com.reset(); }},
    {"assign", [](auto& com) { *com = BXSerialCom(); }},
    {"exchange", [](auto& com) { com->sendStartupCommand(); }},
    {"stream anew",
     [](auto& com) {
       com->closePort();
       EXPECT_TRUE(com->openPort());
       stream(*com);
     }},
    {"copy", [](auto& com) { const BXSerialCom copy(*com); }},
    {"throw", [](auto&) { throw std::runtime_error("thrown by a callback"); }},
};

void expectUsableAfter(const std::function<void(Com&)>& deed) {
  for (const auto& call : calls) {
    sim::Options options = streaming(20);
    options.stored.assign(3, {0, 0, {0xCA, 0x41}});
    DisturbedDevice device(options);
    auto com = std::make_unique<BXSerialCom>();
    com->initializePort(port);
    ASSERT_TRUE(com->openPort());
    Event done;
    std::atomic_flag begun;
    call(*com, [&] {
      if (begun.test_and_set()) return;
      const std::shared_ptr<Event> finally(&done, [](Event* event) { event->set(); });
      deed(com);
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

TEST(ReplyHandler, MayDoAnything) {
  for (const auto& [name, deed] : deeds) {
    SCOPED_TRACE(name);
    expectUsableAfter(deed);
  }
}

TEST(CallbackBytes, AreThoseThatTheCallbackIsCalledFor) {
  const DisturbedDevice device{streaming(1)};
  BXSerialCom com;
  com.initializePort(port);
  ASSERT_TRUE(com.openPort());
  const auto ask = [&](const char* wanted, const std::string& item) {
    for (std::size_t i = 0; i < scaled(300); ++i) {
      com.sendDeviceInfoCommand(item, [&] { EXPECT_EQ(hexOf(com.getReceivedBytes()).substr(0, 6), wanted); });
    }
  };
  std::thread other([&] { ask("596302", BXSerialCom::DEVICE_INFO_ID); });
  ask("596300", BXSerialCom::DEVICE_INFO_SERIAL_NUMBER);
  other.join();
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

// ---- Of the registry: in the stream handler of the host's own, beside a stop or not, and when a device hangs up.

// The first call of the callback does it.
void expectUsableAfter(const Operation& deed, const std::string& place) {
  SCOPED_TRACE(deed.name);
  sim::Options options = streaming(100'000);
  options.keepTranscript = true;
  DisturbedDevice device(options);
  BXDeviceManager manager;
  connect(manager);
  BXDevice& target = manager.getDevice(port);
  Event begun;
  Event done;
  const auto call = [&, first = std::make_shared<std::atomic_flag>()] {
    if (first->test_and_set()) return;
    begun.set();
    if (place == "StreamBesideAStop")
      device.simulator.awaitTranscript("> 6F04", 2);  // the first one came of connecting
    deed.run(manager);
    done.set();
  };
  if (place == "Removal") target.setRemoveDeviceCallback([call](auto) { return call(), true; });
  manager.startTraining(port);
  if (place == "Removal") device.hostsLine.hangUp();
  if (place != "Removal") target.getSerialCom().setProcessTrainingCallback(call);
  ASSERT_TRUE(begun.wait());
  if (place == "StreamBesideAStop") manager.stopTraining(port);
  ASSERT_TRUE(done.wait());
  manager = BXDeviceManager(manager);  // it may stream
  expectUsable();
}

class ManagerCallback : public testing::TestWithParam<const char*> {};

TEST_P(ManagerCallback, MayDoAnything) {
  link::setOptions({.reply = std::chrono::milliseconds(200)});  // what a mode request waits for a handler at most
  std::vector<Operation> tried = {{"Everything", true, [](auto& manager) {
                                     for (const Operation& operation : operations) operation.run(manager);
                                   }}};
  if (GetParam() != std::string("StreamBesideAStop")) {  // nothing else may be called beside the endings
    tried.insert(tried.end(), operations.begin(), operations.end());
    tried.push_back({"Assign", true, [](auto& manager) { manager = BXDeviceManager(manager); }});
    tried.push_back(
        {"Destroy", true, [](auto& manager) { manager.~BXDeviceManager(), new (&manager) BXDeviceManager(); }});
  }
  for (const Operation& deed : tried) expectUsableAfter(deed, GetParam());
  link::setOptions({});
}

INSTANTIATE_TEST_SUITE_P(All, ManagerCallback, testing::Values("Removal", "Stream", "StreamBesideAStop"),
                         [](auto& tested) { return std::string(tested.param); });

// The handler would wait for the operation, and the failing operation for the handler.
TEST(Connecting, FailsBesideAHandlerOfTheHungUpStreamThatCallsTheManager) {
  DisturbedDevice device(streaming(20));
  BXDeviceManager manager;
  connect(manager);
  BXSerialCom& com = manager.getDevice(port).getSerialCom();
  Event inside;
  Event sent;  // never, when connecting waits for the handler first
  com.setProcessTrainingCallback([&] {
    inside.set();
    sent.wait(std::chrono::seconds(1));
    manager.getDeviceSettings(port);
  });
  stream(com);
  ASSERT_TRUE(inside.wait());
  device.hostsLine.hangUp();
  await([&] { return !com.isConnected(); });
  device.hostsLine.silence(true);
  device.hostsLine.arm(0, [&] { sent.set(); });
  EXPECT_EQ(manager.connectDevice(port, true).toString(), "{}");
  EXPECT_EQ(link::lastFailure(port).kind, link::FailureKind::NoDevice);
}

}  // namespace
}  // namespace BX::test
