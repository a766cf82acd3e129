// Many devices at once, and many connections one after the other.
#include <malloc.h>

#include <filesystem>

#include "tests/lifetimes/Lifetimes.h"

namespace BX::test {
namespace {

std::size_t entriesOf(const char* folder) {
  const std::filesystem::directory_iterator entries(folder);
  return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

// What a process can leak. Bytes are counted by the allocator; the sanitizers' own knows of none.
struct Holdings {
  std::size_t descriptors = entriesOf("/proc/self/fd");
  std::size_t threads = entriesOf("/proc/self/task");
  std::size_t bytes = mallinfo2().uordblks;
};

TEST(Many, DevicesStreamAtOnceAndLoseNothing) {
  constexpr std::size_t count = 32;
  const std::size_t records = scaled(500);
  std::vector<std::unique_ptr<DisturbedDevice>> devices;
  BXDeviceManager manager;
  for (std::size_t i = 0; i < count; ++i) {
    devices.push_back(std::make_unique<DisturbedDevice>(streaming(records), "device" + std::to_string(i)));
    manager.addDevice(devices.back()->port, "");
    ASSERT_NE(manager.connectDevice(devices.back()->port, true).toString(), "{}") << link::lastError("device0");
  }
  for (const auto& device : devices) manager.startTraining(device->port);
  for (const auto& device : devices) {
    await([&] { return manager.getDevice(device->port).trainingFrameCount() >= records; });
  }
  manager.stopTraining();
  for (const auto& device : devices) EXPECT_EQ(manager.getDevice(device->port).trainingFrameCount(), records);
}

TEST(Many, DevicesHangUpAtOnceWhileTheyStream) {
  constexpr std::size_t count = 16;
  for (std::size_t round = 0; round < scaled(6); ++round) {
    std::vector<std::unique_ptr<DisturbedDevice>> devices;
    BXDeviceManager manager;
    for (std::size_t i = 0; i < count; ++i) {
      devices.push_back(std::make_unique<DisturbedDevice>(streaming(1000), "device" + std::to_string(i)));
      manager.addDevice(devices.back()->port, "");
      manager.connectDevice(devices.back()->port, true);
      manager.startTraining(devices.back()->port);
    }
    std::thread unplugged([&] {
      for (const auto& device : devices) device->trigger.hangUp();
    });
    manager.stopTraining();
    unplugged.join();
    // Which of them were removed and which had been stopped before is chance. In the other rounds the manager is
    // destroyed while they are being removed.
    if (round % 2 != 0) manager.disconnectDevices();
  }
}

class Connections : public testing::Test {
 protected:
  static void connect(const std::string& port, bool trains) {
    BXDeviceManager manager;
    manager.addDevice(port, "");
    ASSERT_NE(manager.connectDevice(port, true).toString(), "{}") << link::lastError(port);
    if (trains) {
      manager.startTraining(port);
      manager.stopTraining(port);
    }
    manager.disconnectDevice(port);
  }

  // The last connections leave no more behind than the first ones.
  static void repeat(const std::string& port, std::size_t count) {
    for (std::size_t i = 0; i < 10; ++i) connect(port, true);
    const Holdings before;
    for (std::size_t i = 10; i < count; ++i) connect(port, i % 10 == 0);
    const Holdings after;
    EXPECT_LE(after.descriptors, before.descriptors);
    EXPECT_LE(after.threads, before.threads);
    constexpr std::size_t noise = 16 * 1024;  // what the device's end happens to hold
    EXPECT_LE(after.bytes, before.bytes + noise);
  }
};

TEST_F(Connections, OneThousandLeaveNothingBehind) {
  const DisturbedDevice device(streaming(3));
  repeat(device.port, scaled(1000));
}

TEST_F(Connections, OnATerminalLeaveNothingBehind) {
  auto line = std::make_unique<sim::PtyLine>();
  const std::string port = line->name();
  const sim::Simulator simulator(streaming(3), std::move(line));
  platform::replaceTime({[](std::chrono::milliseconds) {}, {}});
  repeat(port, scaled(100));
  platform::replaceTime({});
}

}  // namespace
}  // namespace BX::test
