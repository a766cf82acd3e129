// Every two members of a manager that may be called at once are: the second one from some frame of the first one on,
// while the line hangs up or does not. Both end, and the port can be used again. And what a host may do with a device
// beside a stream that hangs up, and after it.
#include <algorithm>
#include <numeric>
#include <ostream>
#include <random>

#include "morva/KeyedAccess.h"
#include "tests/lifetimes/Lifetimes.h"

namespace BX::test {
namespace {

using namespace std::chrono_literals;

constexpr auto port = "loopback";

using Doing = std::function<void(BXDeviceManager&)>;

Doing upload(const std::string& type, const std::string& document) {
  return [=](BXDeviceManager& manager) {
    MORVA::MORVADataTypeJSON target;
    target.parseString(document);
    manager.createTargetOnDevice(port, type, target);
  };
}

void train(BXDeviceManager& manager) {
  manager.startTraining(port);
  manager.stopTraining();
}

struct Operation {
  const char* name;
  bool isConnected;  // before it begins
  Doing run;

  friend void PrintTo(const Operation& operation, std::ostream* out) { *out << operation.name; }
};

const std::vector<Operation> operations = {
    {"Connect", false, [](auto& manager) { manager.connectDevice(port, true); }},
    {"ReadSettings", true, [](auto& manager) { manager.getDeviceSettings(port); }},
    {"WriteSettings", true, [](auto& manager) { manager.setupDeviceSettings(port, {}); }},
    {"RingTarget", true, upload("RING", R"({"RingTargetNumber":1})")},
    {"Silhouette", true, upload("SILHOUETTE", R"({"SilhouetteTargetNumber":2,"SilhouetteTarget":[[1],[0,1],[1]]})")},
    {"Download", true, [](auto& manager) { manager.downloadDeviceTrainingSession(port); }},
    {"Clear", true, [](auto& manager) { manager.clearTrainingData(port); }},
    {"Train", true, train},
    {"ConnectAll", true, [](auto& manager) { manager.connectDevices(); }},
    {"Start", true, [](auto& manager) { manager.startTraining(port); }},
    {"Mode", true, [](auto& manager) { manager.setDeviceMode(port, BXSerialCom::INFORMATION); }},
    {"Stop", true, [](auto& manager) { manager.stopTraining(port); }},
    {"Take", true, [](auto& manager) { manager.takeTrainingFrames(port); }},
    {"Copy", true, [](auto& manager) { const BXDeviceManager copy(manager); }},
    {"Forget", true, [](auto& manager) { manager.clearTargetData(port); }},
    {"Session", true, [](auto& manager) { manager.setSessionSettings(port, {}); }},
    {"Remove", true, [](auto& manager) { manager.removeDevice(port); }},
    {"RemoveAll", true, [](auto& manager) { manager.disconnectDevices(); }},
    {"RemoveAndAdd", true,
     [](auto& manager) {
       manager.removeDevice(port);
       manager.addDevice(port, "");
     }},
};

constexpr std::size_t atOnce = std::numeric_limits<std::size_t>::max();

void prepare(BXDeviceManager& manager, const Operation& operation) {
  manager.addDevice(port, "");
  if (operation.isConnected) manager.connectDevice(port, true);
}

class Instants : public testing::TestWithParam<Operation> {
 protected:
  static sim::Options storing() {
    sim::Options options = streaming(200);
    for (std::uint8_t page = 0; page < 3; ++page) options.stored.push_back({0, page, {0xCA, 0x41}});
    return options;
  }

  // So many of the frames that the operation sends when nothing happens.
  std::vector<std::size_t> chooseFrames(std::size_t most) {
    BXDeviceManager manager;
    prepare(manager, GetParam());
    line.arm(0, {});
    GetParam().run(manager);
    std::vector<std::size_t> frames(line.writes());
    std::iota(frames.begin(), frames.end(), 0U);
    if (frames.empty()) return {atOnce};
    std::shuffle(frames.begin(), frames.end(), random);
    frames.resize(std::min(frames.size(), most));
    return frames;
  }

  std::thread later(Event& now, std::function<void()> deed) {
    const auto pause = std::chrono::microseconds(std::uniform_int_distribution(0, 200)(random));
    return std::thread([=, &now] {
      now.wait();
      if (pause > 100us) std::this_thread::sleep_for(pause);
      deed();
    });
  }

  void runWith(const Operation& other, std::size_t frame, bool hangsUp) {
    BXDeviceManager manager;
    prepare(manager, GetParam());
    Event now;
    if (frame == atOnce) now.set();
    line.arm(frame, [&] { now.set(); });
    std::thread second = later(now, [&] { other.run(manager); });
    std::thread unplugged = later(now, [&] {
      if (hangsUp) line.hangUp();
    });
    GetParam().run(manager);
    now.set();  // a stream's timing decides how many frames there are
    second.join();
    unplugged.join();
    line.arm(0, {});  // the operation may have sent fewer frames this time
    manager.disconnectDevices();
    expectUsable();
  }

  DisturbedDevice device{storing()};
  DisturbedLine& line = device.hostsLine;
  std::mt19937 random{seed};
};

TEST_P(Instants, OfTwoOperations) {
  bool reached = false;
  for (const Operation& other : operations) {
    reached = reached || std::string(other.name) == GetParam().name;
    if (!reached) continue;  // had this one as its second
    for (const std::size_t frame : chooseFrames(BX_SANITIZED ? 1 : 2)) {
      for (const bool hangsUp : {false, true}) {
        SCOPED_TRACE(std::string(other.name) + (hangsUp ? " and a hang-up" : "") + " at frame " +
                     std::to_string(frame));
        runWith(other, frame, hangsUp);
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(All, Instants, testing::ValuesIn(operations), [](auto& tested) { return tested.param.name; });

// No time-out can help here: only the hang-up itself ends the operation.
class WithoutTimeouts : public testing::Test {
 protected:
  void SetUp() override { link::setOptions({.resend = 60min, .reply = 60min, .keepAlive = 60min}); }
  void TearDown() override { link::setOptions({}); }
  static sim::Options patient(sim::Options options) {
    options.resend = 60min;
    return options;
  }
};

TEST_F(WithoutTimeouts, AHangUpEndsEveryExchangeAtOnce) {
  for (const Operation& operation : operations) {
    SCOPED_TRACE(operation.name);
    DisturbedDevice device(patient(streaming(50)));
    BXDeviceManager manager;
    prepare(manager, operation);
    device.hostsLine.arm(0, [&] { device.hostsLine.hangUp(); });
    operation.run(manager);
    manager.stopTraining();
    manager.disconnectDevices();
  }
}

TEST_F(WithoutTimeouts, StopTrainingReturnsWhenTheLineIsHungUpBeforeOrMeanwhile) {
  for (std::size_t i = 0; i < scaled(100); ++i) {
    DisturbedDevice device(patient(streaming(1000)));
    BXDeviceManager manager;
    connect(manager);
    manager.startTraining(port);
    std::thread other([&] {
      for (std::size_t turn = 0; turn < i; ++turn) std::this_thread::yield();
      device.hostsLine.hangUp();
    });
    manager.stopTraining(port);
    other.join();
  }
}

struct Use {
  const char* name;
  std::function<void(BXDevice&)> beside;  // the stream
};

const std::vector<Use> uses = {
    {"get", [](auto& device) { device.getTrainingFrames(); }},
    {"take", [](auto& device) { device.takeTrainingFrames(); }},
    {"clear", [](auto& device) { device.clearTrainingFrames(); }},
    {"mode", [](auto& device) { device.setDeviceMode(BXSerialCom::RESTING, true); }},
    {"stop", [](auto& device) { device.stopThread(); }},
    {"copy", [](auto& device) { const BXDevice copy(device); }},
};

TEST(Reference, IsUsedBesideAHangUpAndAfterIt) {
  for (const Use& use : uses) {
    SCOPED_TRACE(use.name);
    DisturbedDevice device(streaming(100'000, 50'000));
    BXDeviceManager manager;
    connect(manager);
    manager.startTraining(port);
    BXDevice& streams = manager.getDevice(port);
    std::atomic<bool> isOver = false;
    std::thread asking([&] {
      while (!isOver) {
        streams.isDownloading() || streams.hasError() || streams.downloadProgress().pages > 0;
        manager.takeTrainingFrames(port);
      }
    });
    std::thread unplugged([&] {
      await([&] { return streams.trainingFrameCount() > 0 || !streams.getSerialCom().getStreaming(); });
      device.hostsLine.hangUp();
    });
    while (streams.getSerialCom().getStreaming()) use.beside(streams);
    const BXDevice copy(streams);
    EXPECT_NE(streams.getDeviceSettings().toString(), "{}");
    streams.setTarget(streams.getDeviceSettings());
    streams.clearTargetData();
    unplugged.join();
    isOver = true;
    asking.join();
  }
}

TEST(Manager, IsCopiedAssignedAndDestroyedWhileADeviceStreams) {
  DisturbedDevice device(streaming(100'000, 50'000));
  std::mt19937 random(seed);
  for (std::size_t i = 0; i < scaled(60); ++i) {
    BXDeviceManager manager;
    connect(manager);
    manager.startTraining(port);
    BXDevice& streams = manager.getDevice(port);
    const auto records = std::uniform_int_distribution<std::size_t>(0, 100)(random);
    await([&] { return streams.trainingFrameCount() >= records; });
    if (i % 3 == 1) {
      EXPECT_EQ(BXDeviceManager(manager).getDevice(port).trainingFrameCount(), 0U);
    }
    if (i % 3 == 2) manager = BXDeviceManager(manager);
  }
}

TEST(Silence, EndsAStreamAndEveryOperationWithinTheTimeouts) {
  for (const bool stops : {true, false}) {
    link::setOptions({.resend = 5ms, .reply = 50ms, .keepAlive = 20ms});
    DisturbedDevice device(streaming(0));
    BXDeviceManager manager;
    manager.addDevice(port, "");
    // A machine under load may miss these short times; then there is nothing to lose yet.
    while (manager.connectDevice(port, true).toString() == "{}") manager.addDevice(port, "");
    BXDevice& target = manager.getDevice(port);
    manager.startTraining(port);
    device.hostsLine.silence(true);
    if (stops) manager.stopTraining(port);
    await([&] { return !target.getSerialCom().getStreaming(); });
    EXPECT_TRUE(target.hasError());
    EXPECT_TRUE(target.getSerialCom().isConnected());
    device.hostsLine.silence(false);
    link::setOptions({});
    manager.disconnectDevice(port);
    expectUsable();
  }
}

}  // namespace
}  // namespace BX::test
