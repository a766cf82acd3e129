// Every two members of a manager that may be called at once are: the second one from some frame of the first one on,
// while the line hangs up or does not. Both end, and the port can be used again. And what a host may do with a device
// beside a stream that hangs up, and after it.
#include <ostream>
#include <random>

#include "tests/lifetimes/Operations.h"

namespace BX::test {
namespace {

using namespace std::chrono_literals;

class Instants : public testing::TestWithParam<Operation> {
 protected:
  static sim::Options storing() {
    sim::Options options = streaming(200);
    options.resend = 60min;
    for (std::uint8_t page = 0; page < 3; ++page) options.stored.push_back({0, page, {0xCA, 0x41}});
    return options;
  }
  static void prepare(BXDeviceManager& manager) {
    manager.addDevice(port, "");
    if (GetParam().isConnected) manager.connectDevice(port, true);
  }

  // The other one begins at once, or at some frame of the first one; more often at an early one.
  void runWith(const Operation& other, bool begins, bool hangsUp) {
    BXDeviceManager manager;
    prepare(manager);
    Event now;
    if (begins) now.set();
    const auto later = [&](const std::function<void()>& deed) {
      const auto pause = std::chrono::microseconds(std::uniform_int_distribution(0, 200)(random));
      return std::thread([&now, pause, deed] {
        now.wait();
        if (pause > 100us) std::this_thread::sleep_for(pause);
        deed();
      });
    };
    line.arm((1U << std::uniform_int_distribution(0U, 5U)(random)) - 1, [&] { now.set(); });
    std::thread second = later([&] { other.run(manager); });
    std::thread unplugged = later([&] {
      if (hangsUp) line.hangUp();
    });
    GetParam().run(manager);
    now.set();  // it may have sent fewer frames
    second.join();
    unplugged.join();
    expectUsableAfter(manager);
  }
  void expectUsableAfter(BXDeviceManager& manager) {
    line.arm(0, {});
    manager.disconnectDevices();
    line.silence(false);
    expectUsable();
  }

  // No time-out can help here.
  void SetUp() override { link::setOptions({.resend = 60min, .reply = 60min, .keepAlive = 60min}); }
  void TearDown() override { link::setOptions({}); }

  DisturbedDevice device{storing()};
  DisturbedLine& line = device.hostsLine;
  std::mt19937 random{seed};
};

TEST_P(Instants, OfTwoOperations) {
  bool reached = false;
  for (const Operation& other : operations) {
    reached = reached || std::string(other.name) == GetParam().name;
    if (!reached) continue;  // had this one as its second
    for (std::size_t run = 0; run < (BX_SANITIZED ? 4U : 12U); ++run) {
      const bool hangsUp = run % 2 == 0;
      SCOPED_TRACE(std::string(other.name) + (hangsUp ? " and a hang-up" : ""));
      runWith(other, run % 4 < 2, hangsUp);
    }
  }
}

// From some frame on the device says nothing more; only the cancellation ends what waits for it.
TEST_P(Instants, OfACancel) {
  for (std::size_t frame = 0; frame < 20; ++frame) {
    BXDeviceManager manager;
    prepare(manager);
    link::Cancellation cancellation;
    line.arm(frame, [&] {
      line.silence(true);
      cancellation.request();
    });
    {
      const link::Cancellation::Scope scope(cancellation);
      GetParam().run(manager);
    }
    expectUsableAfter(manager);
  }
}

INSTANTIATE_TEST_SUITE_P(All, Instants, testing::ValuesIn(operations), [](auto& tested) { return tested.param.name; });

const std::function<void(BXDevice&)> uses[] = {[](auto& device) { device.getTrainingFrames(); },
                                               [](auto& device) { device.takeTrainingFrames(); },
                                               [](auto& device) { device.setDeviceMode(BXSerialCom::RESTING, true); },
                                               [](auto& device) { const BXDevice copy(device); }};

TEST(Reference, IsUsedBesideAHangUpAndAfterIt) {
  for (const auto& use : uses) {
    SCOPED_TRACE(&use - uses);
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
    while (streams.getSerialCom().getStreaming()) use(streams);
    const BXDevice copy(streams);
    EXPECT_NE(streams.getDeviceSettings().toString(), "{}");
    streams.setTarget(streams.getDeviceSettings());
    streams.clearTargetData();
    unplugged.join();
    isOver = true;
    asking.join();
  }
}

}  // namespace
}  // namespace BX::test
