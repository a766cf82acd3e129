// Many devices at once, and many connections one after the other.
#include <malloc.h>

#include <filesystem>

#include "tests/lifetimes/Lifetimes.h"

namespace BX::test {
namespace {

TEST(Many, DevicesStreamAtOnceAndLoseNothingAndHangUpAtOnce) {
  const std::size_t records = scaled(500);
  for (std::size_t round = 0; round < 4; ++round) {
    std::vector<std::unique_ptr<DisturbedDevice>> devices;
    BXDeviceManager manager;
    for (std::size_t i = 0; i < 32; ++i) {
      devices.push_back(std::make_unique<DisturbedDevice>(streaming(records), "device" + std::to_string(i)));
      connect(manager, devices.back()->port);
    }
    const auto received = [&](const auto& device) { return manager.getDevice(device->port).trainingFrameCount(); };
    for (const auto& device : devices) manager.startTraining(device->port);
    for (const auto& device : devices) await([&] { return received(device) >= records; });
    manager.stopTraining();
    for (const auto& device : devices) EXPECT_EQ(received(device), records);

    for (const auto& device : devices) manager.startTraining(device->port);
    std::thread unplugged([&] {
      for (const auto& device : devices) device->hostsLine.hangUp();
    });
    manager.stopTraining();
    unplugged.join();
    // Which of them were removed and which had been stopped before is chance. In the other rounds the manager is
    // destroyed while they are being removed.
    if (round % 2 != 0) manager.disconnectDevices();
  }
}

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

// The last connections leave no more behind than the first ones.
void expectNothingLeftBy(std::size_t connections, const std::string& port) {
  const auto come = [&port](bool trains) {
    BXDeviceManager manager;
    connect(manager, port);
    if (trains) {
      manager.startTraining(port);
      manager.stopTraining(port);
    }
    manager.disconnectDevice(port);
  };
  for (std::size_t i = 0; i < 10; ++i) come(true);
  const Holdings before;
  for (std::size_t i = 10; i < connections; ++i) come(i % 10 == 0);
  // The system lists a thread for a moment after it was joined; one that was left behind lets this wait for ever.
  await([&] { return Holdings().threads <= before.threads; });
  const Holdings after;
  EXPECT_LE(after.descriptors, before.descriptors);
  constexpr std::size_t noise = 16 * 1024;  // what the device's end happens to hold
  EXPECT_LE(after.bytes, before.bytes + noise);
}

TEST(Connections, OneThousandLeaveNothingBehind) {
  const DisturbedDevice device(streaming(3));
  expectNothingLeftBy(scaled(1000), device.port);
}

TEST(Connections, OnATerminalLeaveNothingBehind) {
  auto line = std::make_unique<sim::PtyLine>();
  const std::string port = line->name();
  const sim::Simulator simulator(streaming(3), std::move(line));
  const NoWaits noWaits;
  expectNothingLeftBy(scaled(100), port);
}

}  // namespace
}  // namespace BX::test
