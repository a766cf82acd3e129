// The device at the end of a line: its frames to the byte, its sessions, its transcript, its terminal.
#include "simulator/Simulator.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <condition_variable>
#include <filesystem>
#include <mutex>

#include "bx/BXSerialCom.h"
#include "platform/serial/LoopbackLine.h"
#include "simulator/PublishedLink.h"
#include "tests/support/Event.h"
#include "tests/support/Hex.h"
#include "tests/support/LoopbackDevice.h"

namespace BX::sim {
namespace {

using namespace std::chrono_literals;
using test::bytesOf;
using test::hexOf;
using testing::ElementsAre;
using testing::StartsWith;

// A host that knows nothing but bytes.
class RawHost {
 public:
  explicit RawHost(std::unique_ptr<link::Transport> line) : line_(std::move(line)) {
    line_->open({[this](std::span<const std::uint8_t> bytes) {
                   const std::scoped_lock lock(mutex_);
                   received_ += hexOf(bytes);
                   changed_.notify_all();
                 },
                 [this](const std::string&) {
                   const std::scoped_lock lock(mutex_);
                   received_ += "hung up";
                   changed_.notify_all();
                 }});
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
  std::mutex mutex_;
  std::condition_variable changed_;
  std::string received_;
  std::unique_ptr<link::Transport> line_;
};

// Written down from the layout, the checksums by another program: the device shares its frame codec with the host, and
// a mistake in both would show nowhere else.
const std::string beginSession =
    "00"
    "043F01"
    "6E030855"
    "00";
const std::string sessionBegun =
    "00"
    "077301"
    "32CC085C"
    "00";
const std::string startupRequest =
    "00"
    "01"
    "08017373"
    "ED98BF98"
    "00";
const std::string startupAnswer =
    "00"
    "0920015973"
    "22C1DC8E"
    "00";

Options patient() {
  Options options;
  options.resend = 1min;
  return options;
}

TEST(Simulator, AnswersInFramesThatAreExactToTheByte) {
  link::LoopbackLine line;
  const Simulator simulator(patient(), line.deviceEnd());
  RawHost host(line.hostEnd());
  host.write(
      "FF7300"
      "12345678" +
      beginSession);  // garbage costs nothing
  EXPECT_EQ(host.await(sessionBegun), sessionBegun);
  host.write(startupRequest);
  EXPECT_EQ(host.await(sessionBegun + startupAnswer), sessionBegun + startupAnswer);
  EXPECT_THAT(simulator.transcript(), ElementsAre("> 7373"));
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

TEST(Simulator, HangsUpAtOnceAndForGood) {
  link::LoopbackLine line;
  Simulator simulator(patient(), line.deviceEnd());
  RawHost host(line.hostEnd());
  simulator.hangUp();
  EXPECT_EQ(host.await("hung up"), "hung up");
  simulator.hangUp();
  EXPECT_THROW(RawHost(line.hostEnd()), std::runtime_error);
}

// ---- With the real link at the host's end.

class SimulatorAndLink : public testing::Test {
 protected:
  void open(const std::string& port) {
    com.closePort();
    com.initializePort(port);
    ASSERT_TRUE(com.openPort()) << link::lastError(port);
  }
  // Streams until `count` payloads have come, then stops; gives them with the answer that ended the stream.
  std::vector<std::string> train(std::size_t count) {
    std::vector<std::string> received;
    test::Event enough;
    test::Event ended;
    com.setProcessTrainingCallback([&] {
      received.push_back(hexOf(com.getReceivedBytes()));
      if (received.size() == count) enough.set();
      if (received.back().starts_with("59")) {
        com.setRunning(false);
        ended.set();
      }
    });
    EXPECT_TRUE(com.setDeviceMode(BXSerialCom::FIELD_STREAM, false));
    com.startSessionListening();
    EXPECT_TRUE(enough.wait());
    EXPECT_TRUE(com.setDeviceMode(BXSerialCom::RESTING, true));
    EXPECT_TRUE(ended.wait());
    com.setProcessTrainingCallback({});
    return received;
  }
  BXSerialCom com;
};

TEST_F(SimulatorAndLink, StreamsEveryPayloadOfAFileInOrderAndThenFallsSilent) {
  Options options;
  options.rate = 20000;
  options.stream.emplace();
  std::vector<std::string> expected;
  for (unsigned i = 0; i < 3000; ++i) {
    options.stream->push_back({0xCA, 0x65, static_cast<std::uint8_t>(i >> 8), static_cast<std::uint8_t>(i)});
    expected.push_back(hexOf(options.stream->back()));
  }
  expected.push_back("596F");
  const test::LoopbackDevice device(options);
  open(device.port);
  EXPECT_EQ(train(3000), expected);
  EXPECT_EQ(train(3000), expected) << "from the first line at each start";
  com.closePort();
}

TEST_F(SimulatorAndLink, RestsWhenAHostHasGone) {
  const test::LoopbackDevice device;
  open(device.port);
  ASSERT_TRUE(com.setDeviceMode(BXSerialCom::FIELD_STREAM, false));
  open(device.port);
  EXPECT_TRUE(com.sendDeviceInfoCommand(BXSerialCom::DEVICE_INFO_ID, {})) << "a running stream would refuse";
  com.closePort();
}

TEST_F(SimulatorAndLink, WritesDownEachPayloadOnce) {
  std::vector<std::string> lines;
  Options options;
  options.transcript = [&](const std::string& line) { lines.push_back(line); };
  {
    const test::LoopbackDevice device(options);
    open(device.port);
    EXPECT_TRUE(com.sendStartupCommand());
    EXPECT_TRUE(com.poll());
    EXPECT_TRUE(device.simulator.awaitTranscript("< ", 2));
    EXPECT_FALSE(device.simulator.awaitTranscript("< ", 3, 0ms));
    EXPECT_THAT(device.simulator.transcript(), ElementsAre("> 7373", "< 5973", "> 7070", "< 5970"));
    com.closePort();
  }
  EXPECT_THAT(lines, ElementsAre("> 7373", "< 5973", "> 7070", "< 5970"));
}

TEST_F(SimulatorAndLink, ServesOneHostAfterTheOtherOnAPseudoTerminal) {
  auto line = std::make_unique<PtyLine>();
  const std::string name = line->name();
  test::Event gone;
  {
    const Simulator simulator({}, std::move(line));
    for (std::size_t host = 1; host <= 3; ++host) {
      open(name);
      EXPECT_TRUE(com.sendStartupCommand()) << link::lastError(name);
      EXPECT_TRUE(com.poll()) << link::lastError(name);
      EXPECT_THAT(train(5).back(), "596F");
      com.closePort();
      EXPECT_TRUE(simulator.awaitTranscript("> 7373", host));
    }
    open(name);
    com.setRemoveDeviceCallback([&](const char*) {
      gone.set();
      return true;
    });
    ASSERT_TRUE(com.setDeviceMode(BXSerialCom::FIELD_STREAM, false));
    com.startSessionListening();
  }
  EXPECT_TRUE(gone.wait()) << "the device's end hangs the host up";
  com.closePort();
}

// ---- The published name.

TEST(PublishedLink, ReplacesLinksOnlyAndCleansUpAfterItself) {
  namespace fs = std::filesystem;
  const fs::path directory = fs::path(testing::TempDir()) / "bx-published-link";
  fs::remove_all(directory);
  fs::create_directory(directory);
  const std::string path = directory / "lane1";
  fs::create_symlink("/gone", path);
  {
    const PublishedLink link(path, "/dev/pts/7");
    EXPECT_EQ(fs::read_symlink(path), "/dev/pts/7");
  }
  EXPECT_TRUE(fs::is_empty(directory));
  {
    const PublishedLink first(path, "/dev/pts/7");
    const PublishedLink second(path + "b", "/dev/pts/8");
    fs::remove(path);
    fs::create_symlink("/dev/pts/9", path);
  }
  EXPECT_EQ(fs::read_symlink(path), "/dev/pts/9") << "another one's link by now";
  fs::remove(path);
  fs::create_directory(path);
  EXPECT_THROW(PublishedLink(path, "/dev/pts/7"), std::runtime_error);
  EXPECT_TRUE(fs::is_directory(path));
  EXPECT_THROW(PublishedLink(directory / "no" / "lane1", "/dev/pts/7"), std::runtime_error);
  fs::remove_all(directory);
}

}  // namespace
}  // namespace BX::sim
