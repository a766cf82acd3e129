// Many devices at once, many connections one after the other, and devices that send too much.
#include <malloc.h>

#include <filesystem>

#include "platform/codec/Frame.h"
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

// ---- Devices that keep to the framing and to nothing else: an exchange with one fails before the device has sent
// much, what waits is bounded, and the port serves once the device is done.

using link::FailureKind;

constexpr auto port = "rogue";
constexpr std::size_t bound = std::size_t{1} << 20U;  // of an answer, and of what waits of a stream
constexpr std::size_t endless = 3 * bound;
constexpr std::size_t payloadSize = 200;

bool readPage(BXSerialCom& com) {
  std::vector<unsigned char> request{0x62, 0, 0, 0x62};
  return com.setDeviceMode(BXSerialCom::TRANSFER, false) && com.sendDownloadRequest(request, {});
}

bool leaveAStreamUnheard(BXSerialCom& com) {
  if (!com.setDeviceMode(BXSerialCom::FIELD_STREAM, false)) return false;
  await([] { return link::statistics(port).payloadsReceived > 2 * bound / payloadSize; });
  return !com.getError();
}

void misbehave(std::size_t payloads, std::size_t size, bool (*exchange)(BXSerialCom&), FailureKind failure) {
  sim::Options options = streaming(0, 1e6);
  options.stream.emplace(endless / payloadSize, sim::Bytes(payloadSize, 0xCA));
  options.stored.assign(payloads, {0, 0, sim::Bytes(size, 0xCA)});
  const LoopbackDevice device(options, port);
  BXSerialCom com;
  com.initializePort(port);
  ASSERT_TRUE(com.openPort());
  EXPECT_FALSE(exchange(com));
  EXPECT_EQ(link::lastFailure(port).kind, failure) << link::lastError(port);
  const auto statistics = link::statistics(port);
  EXPECT_LE((statistics.payloadsReceived - statistics.payloadsDropped) * payloadSize, bound);
  EXPECT_LT(statistics.framesReceived * std::min(size, link::maxContentSize), 2 * bound);
  bool works = false;
  for (int i = 0; i < 5 && !works; ++i) works = com.setDeviceMode(BXSerialCom::RESTING, true) && com.poll();
  EXPECT_TRUE(works) << link::lastError(port);
}

TEST(Rogue, EndsAnExchangeSoonAndLeavesThePortUsable) {
  misbehave(endless / payloadSize, payloadSize, readPage, FailureKind::AnswerTooLong);
  misbehave(1, endless, readPage, FailureKind::AnswerTooLong);
  misbehave(0, 0, leaveAStreamUnheard, FailureKind::QueueFull);
}

}  // namespace
}  // namespace BX::test
