// Something happens to a device in the middle of an operation: at every frame that the host sends, or at so many of
// them. The operation ends, and the port can be used again.
#include <array>
#include <atomic>
#include <numeric>
#include <random>

#include "morva/KeyedAccess.h"
#include "tests/lifetimes/Lifetimes.h"

namespace BX::test {
namespace {

using namespace std::chrono_literals;
using Json = MORVA::MORVADataTypeJSON;

constexpr auto port = "loopback";

Json silhouette() {
  Json target;
  std::string rows = "[";
  for (int row = 0; row < 64; ++row) rows += row == 0 ? "[1]" : ",[0,1]";
  target.parseString(R"({"SilhouetteTargetNumber":2,"TargetName":"S","SilhouetteTarget":)" + rows + "]}");
  return target;
}

struct Operation {
  const char* name;
  std::function<void(BXDeviceManager&)> prepare;  // undisturbed
  std::function<void(BXDeviceManager&)> run;
};

const auto nothing = [](BXDeviceManager&) {};
const auto connect = [](BXDeviceManager& manager) { manager.connectDevice(port, true); };
const auto startStream = [](BXDeviceManager& manager) {
  manager.connectDevice(port, true);
  manager.startTraining(port);
};

const std::vector<Operation>& operations() {
  static const std::vector<Operation> all = {
      {"connect", nothing, connect},
      {"read settings", connect, [](BXDeviceManager& manager) { manager.getDeviceSettings(port); }},
      {"write settings", connect, [](BXDeviceManager& manager) { manager.setupDeviceSettings(port, Json()); }},
      {"ring target", connect,
       [](BXDeviceManager& manager) {
         Json target;
         MORVA::setInteger(target, "RingTargetNumber", 1);
         manager.createTargetOnDevice(port, "RING", target);
       }},
      {"silhouette", connect,
       [](BXDeviceManager& manager) {
         Json target = silhouette();
         manager.createTargetOnDevice(port, "SILHOUETTE", target);
       }},
      {"download", connect, [](BXDeviceManager& manager) { manager.downloadDeviceTrainingSession(port); }},
      {"clear", connect, [](BXDeviceManager& manager) { manager.clearTrainingData(port); }},
      {"start training", connect, [](BXDeviceManager& manager) { manager.startTraining(port); }},
      {"stop training", startStream, [](BXDeviceManager& manager) { manager.stopTraining(port); }},
      {"train", connect,
       [](BXDeviceManager& manager) {
         manager.startTraining(port);
         manager.stopTraining();
       }},
  };
  return all;
}

// What happens: at once on the link's thread, or on a thread of its own some time later.
struct Incident {
  const char* name;
  bool isHangUp;
  std::function<void(BXDeviceManager&)> happen;
};

const std::vector<Incident>& incidents() {
  static const std::vector<Incident> all = {
      {"hang-up", true, nothing},
      {"remove", false, [](BXDeviceManager& manager) { manager.removeDevice(port); }},
      {"remove all", false, [](BXDeviceManager& manager) { manager.disconnectDevices(); }},
      {"remove and add", false,
       [](BXDeviceManager& manager) {
         manager.removeDevice(port);
         manager.addDevice(port, "");
       }},
      {"copy", false, [](BXDeviceManager& manager) { const BXDeviceManager copy(manager); }},
      {"stop", false, [](BXDeviceManager& manager) { manager.stopTraining(); }},
  };
  return all;
}

class Instants : public testing::TestWithParam<std::size_t> {
 protected:
  Instants() : device_(storing()) { std::cout.setstate(std::ios::failbit); }
  ~Instants() override { std::cout.clear(); }

  static sim::Options storing() {
    sim::Options options = streaming(200);
    for (std::uint8_t page = 0; page < 3; ++page) options.stored.push_back({0, page, {0xCA, 0x41}});
    return options;
  }

  // How many frames the operation sends when nothing happens.
  std::size_t framesOf(const Operation& operation) {
    BXDeviceManager manager;
    manager.addDevice(port, "");
    operation.prepare(manager);
    device_.trigger.arm(0, {});
    operation.run(manager);
    return device_.trigger.writes();
  }

  void disturb(const Operation& operation, const Incident& incident, std::size_t frame) {
    BXDeviceManager manager;
    manager.addDevice(port, "");
    operation.prepare(manager);
    Event now;
    const auto pause = std::chrono::microseconds(std::uniform_int_distribution(0, 200)(random_));
    std::thread other([&] {
      now.wait();
      if (pause > 100us) std::this_thread::sleep_for(pause);
      incident.happen(manager);
    });
    device_.trigger.arm(frame, [&] {
      if (incident.isHangUp) device_.trigger.hangUp();
      now.set();
    });
    operation.run(manager);
    now.set();  // a stream's timing decides how many frames there are
    other.join();
    device_.trigger.arm(0, {});  // the operation may have sent fewer frames this time
    manager.disconnectDevices();
    expectUsable();
  }

  void expectUsable() {
    BXDeviceManager manager;
    manager.addDevice(port, "");
    EXPECT_NE(manager.connectDevice(port, true).toString(), "{}") << link::lastError(port);
  }

  // Every frame, or so many of them.
  std::vector<std::size_t> choose(std::size_t frames, std::size_t most) {
    std::vector<std::size_t> all(frames);
    std::iota(all.begin(), all.end(), 0U);
    std::shuffle(all.begin(), all.end(), random_);
    if (all.size() > most) all.resize(most);
    return all;
  }

  DisturbedDevice device_;
  std::mt19937 random_{seed};
};

TEST_P(Instants, OfAnOperation) {
  const Operation& operation = operations()[GetParam()];
  const std::size_t frames = framesOf(operation);
  for (const Incident& incident : incidents()) {
    for (const std::size_t frame : choose(frames, scaled(12))) {
      SCOPED_TRACE(std::string(incident.name) + " during " + operation.name + ", frame " + std::to_string(frame) +
                   ", seed " + std::to_string(seed));
      disturb(operation, incident, frame);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(All, Instants, testing::Range(std::size_t{0}, std::size_t{10}), [](const auto& tested) {
  std::string name = operations()[tested.param].name;
  std::erase(name, ' ');
  return name;
});

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
  std::mt19937 random(seed);
  for (const Operation& operation : operations()) {
    SCOPED_TRACE(operation.name);
    DisturbedDevice device(patient(streaming(50)));
    std::cout.setstate(std::ios::failbit);
    BXDeviceManager manager;
    manager.addDevice(port, "");
    operation.prepare(manager);
    device.trigger.arm(0, [&] { device.trigger.hangUp(); });
    operation.run(manager);
    manager.stopTraining();
    manager.disconnectDevices();
    std::cout.clear();
  }
}

TEST_F(WithoutTimeouts, StopTrainingReturnsWhenTheLineIsHungUpBeforeOrMeanwhile) {
  for (std::size_t i = 0; i < scaled(100); ++i) {
    DisturbedDevice device(patient(streaming(1000)));
    BXDeviceManager manager;
    manager.addDevice(port, "");
    manager.connectDevice(port, true);
    manager.startTraining(port);
    std::thread other([&] {
      for (std::size_t turn = 0; turn < i; ++turn) std::this_thread::yield();
      device.trigger.hangUp();
    });
    manager.stopTraining(port);
    other.join();
  }
}

TEST(Manager, IsCopiedAssignedAndDestroyedWhileADeviceStreams) {
  DisturbedDevice device(streaming(100'000, 50'000));
  std::mt19937 random(seed);
  for (std::size_t i = 0; i < scaled(60); ++i) {
    BXDeviceManager manager;
    manager.addDevice(port, "");
    startStream(manager);
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
  link::setOptions({.resend = 5ms, .reply = 50ms, .keepAlive = 20ms});
  for (const bool stops : {true, false}) {
    DisturbedDevice device(streaming(0));
    BXDeviceManager manager;
    manager.addDevice(port, "");
    // A machine under load may miss these short times; then there is nothing to lose yet.
    while (manager.connectDevice(port, true).toString() == "{}") manager.addDevice(port, "");
    BXDevice& target = manager.getDevice(port);
    manager.startTraining(port);
    device.trigger.silence(true);
    if (stops) {
      manager.stopTraining(port);
      EXPECT_TRUE(target.hasError());
    } else {
      await([&] { return !target.getSerialCom().getStreaming(); });
      EXPECT_TRUE(target.hasError());
      EXPECT_TRUE(target.getSerialCom().isConnected());
    }
    device.trigger.silence(false);
    link::setOptions({});
    manager.disconnectDevice(port);
    manager.addDevice(port, "");
    EXPECT_NE(manager.connectDevice(port, true).toString(), "{}");
    link::setOptions({.resend = 5ms, .reply = 50ms, .keepAlive = 20ms});
  }
  link::setOptions({});
}

}  // namespace
}  // namespace BX::test
