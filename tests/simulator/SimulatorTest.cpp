// The device at the end of a line: its frames to the byte, its sessions, its transcript, its terminal.
#include "simulator/Simulator.h"

#include <gmock/gmock.h>

#include <condition_variable>
#include <filesystem>
#include <mutex>

#include "bx/BXSerialCom.h"
#include "platform/serial/Frame.h"
#include "platform/serial/LoopbackLine.h"
#include "simulator/PublishedLink.h"
#include "tests/support/DisturbedLine.h"
#include "tests/support/Event.h"
#include "tests/support/Hex.h"

namespace BX::sim {
namespace {

using namespace std::chrono_literals;
using test::bytesOf;
using test::hexOf;
using testing::ElementsAre;
using testing::EndsWith;

// A host that knows nothing but bytes.
class RawHost {
 public:
  explicit RawHost(std::unique_ptr<link::Transport> line) : line_(std::move(line)) {
    line_->open({[this](auto bytes) { hear(hexOf(bytes)); }, [this](const auto&) { hear("hung up"); }});
  }
  ~RawHost() { line_->close(); }
  void write(const std::string& hex) { line_->write(bytesOf(hex)); }
  // Everything that was received so far, once it is `expected`.
  std::string await(const std::string& expected) {
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, 10s, [&] { return received_ == expected; });
    return received_;
  }

 private:
  void hear(const std::string& what) {
    const std::scoped_lock lock(mutex_);
    received_ += what;
    changed_.notify_all();
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::string received_;
  std::unique_ptr<link::Transport> line_;
};

// Written down from the layout, the checksums by another program: the device shares its frame codec with the host, and
// a mistake in both would show nowhere else.
const std::string beginSession = "00043F016E03085500";
const std::string sessionBegun = "0007730132CC085C00";
const std::string startupRequest = "000108017373ED98BF9800";
const std::string startupAnswer = "00092001597322C1DC8E00";

Options patient() {
  Options options;
  options.resend = 1min;
  return options;
}

TEST(Simulator, AnswersInFramesThatAreExactToTheByteUntilItHangsUp) {
  link::LoopbackLine line;
  Simulator simulator(patient(), line.deviceEnd());
  RawHost host(line.hostEnd());
  host.write("FF730012345678" + beginSession);  // garbage costs nothing
  EXPECT_EQ(host.await(sessionBegun), sessionBegun);
  host.write(startupRequest);
  EXPECT_EQ(host.await(sessionBegun + startupAnswer), sessionBegun + startupAnswer);
  EXPECT_THAT(simulator.transcript(), ElementsAre("> 7373"));
  simulator.hangUp();
  EXPECT_THAT(host.await(sessionBegun + startupAnswer + "hung up"), EndsWith("hung up"));
  EXPECT_THROW(RawHost(line.hostEnd()), std::runtime_error);
}

TEST(Simulator, PacesBytesInBothDirections) {
  Options options = patient();
  options.baud = 9600;
  options.latency = 20ms;
  link::LoopbackLine line;
  const Simulator simulator(options, line.deviceEnd());
  RawHost host(line.hostEnd());
  const auto start = std::chrono::steady_clock::now();
  host.write(beginSession + startupRequest);
  host.await(sessionBegun + startupAnswer);
  // 19 bytes up, then 10 bytes down, each of ten bits, and the latency.
  EXPECT_GE(std::chrono::steady_clock::now() - start, 29 * 10 * 1000ms / 9600 + 20ms);
}

TEST(Simulator, WritesDownEachPayloadOnceAndRestsWhenAHostHasGone) {
  const test::LoopbackDevice device;
  BXSerialCom com;
  com.initializePort(device.port);
  ASSERT_TRUE(com.openPort() && com.sendStartupCommand() && com.poll());
  EXPECT_TRUE(device.simulator.awaitTranscript("< ", 2));
  EXPECT_FALSE(device.simulator.awaitTranscript("< ", 3, 0ms));
  EXPECT_THAT(device.simulator.transcript(), ElementsAre("> 7373", "< 5973", "> 7070", "< 5970"));
  ASSERT_TRUE(com.setDeviceMode(BXSerialCom::FIELD_STREAM, false));
  com.closePort();
  ASSERT_TRUE(com.openPort());
  EXPECT_TRUE(com.sendDeviceInfoCommand(BXSerialCom::DEVICE_INFO_ID, {})) << "a running stream would refuse";
  com.closePort();
}

// The host hears nothing for many resend times: it was suspended, or the line held up.
TEST(Simulator, KeepsSessionAndStreamForAHostThatIsSilent) {
  Options options;
  options.resend = 1ms;
  options.rate = 100'000;
  options.stream.emplace(40, bytesOf("CA6A"));
  test::DisturbedDevice device(options);
  device.simulator.setFaults({});  // from now on frames are counted
  BXSerialCom com;
  com.initializePort(device.port);
  ASSERT_TRUE(com.openPort());
  ASSERT_TRUE(com.setDeviceMode(BXSerialCom::RESTING, false));
  device.hostsLine.hold();
  std::thread training([&] { EXPECT_TRUE(com.setDeviceMode(BXSerialCom::FIELD_STREAM, false)); });
  test::await([&] { return device.simulator.frameCount(Direction::ToHost, FrameKind::Data) > 14; });
  device.hostsLine.release();
  training.join();
  EXPECT_TRUE(device.simulator.awaitTranscript("< CA6A", 40));
}

TEST(Simulator, StreamsNothingOfAnEarlierModeAfterAModesAnswer) {
  const auto frame = [](const std::string& content) { return hexOf(link::encodeFrame(bytesOf(content))); };
  Options options = patient();
  options.rate = 100'000;
  options.stream.emplace(40, bytesOf("CA6A"));
  link::LoopbackLine line;
  const Simulator simulator(options, line.deviceEnd());
  RawHost host(line.hostEnd());
  host.write(beginSession + frame("00016F0372"));
  std::string expected = sessionBegun + frame("2001596F");
  for (const char* control : {"22", "24", "26", "28", "2A", "2C"}) expected += frame(control + std::string("00CA6A"));
  EXPECT_EQ(host.await(expected), expected);
  host.write(frame("02026F0473") + frame("E1"));  // another mode; then all is acknowledged
  expected += frame("4E02596F");
  EXPECT_EQ(host.await(expected), expected);
}

TEST(PublishedLink, ReplacesLinksOnlyAndRemovesNothingButItself) {
  namespace fs = std::filesystem;
  const fs::path path = fs::path(testing::TempDir()) / "bx-published-link";
  fs::remove(path);
  fs::create_symlink("/dev/pts/gone", path);
  {
    const PublishedLink link(path, "/dev/pts/7");
    EXPECT_EQ(fs::read_symlink(path), "/dev/pts/7");
    fs::remove(path);
    fs::create_symlink("/dev/pts/9", path);
  }
  EXPECT_EQ(fs::read_symlink(path), "/dev/pts/9") << "another one's link by now";
  fs::remove(path);
  fs::create_directory(path);
  EXPECT_THROW(PublishedLink(path, "/dev/pts/7"), std::runtime_error);
  EXPECT_THROW(PublishedLink(path / "no" / "lane1", "/dev/pts/7"), std::runtime_error);
  fs::remove(path);
}

}  // namespace
}  // namespace BX::sim
