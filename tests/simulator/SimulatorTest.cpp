// The device at the end of a line: its speed, its transcript, its shooter, and what it reads and leaves on the disk.
#include "simulator/Simulator.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <regex>
#include <thread>

#include "bx/BXSerialCom.h"
#include "platform/codec/Frame.h"
#include "simulator/DeviceWire.h"
#include "simulator/LoopbackLine.h"
#include "simulator/Pacer.h"
#include "simulator/Shooter.h"
#include "tests/support/DisturbedLine.h"
#include "tests/support/Event.h"
#include "tests/support/Hex.h"
#include "tests/support/Table.h"

namespace BX::sim {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using test::bytesOf;
using test::hexOf;
using testing::ElementsAre;
using testing::FieldsAre;

TEST(Pacer, LetsBytesArriveAtTheSpeedOfTheLine) {
  constexpr Pacer::Time start{};
  Pacer pacer(1000, 500ms);  // a byte each 10 ms
  pacer.push({1, 2}, start);
  pacer.push({3}, start);
  EXPECT_EQ(pacer.due(), start + 520ms);
  EXPECT_EQ(pacer.takeDue(start + 519ms), std::nullopt);
  EXPECT_EQ(pacer.takeDue(start + 525ms), (Bytes{1, 2}));
  EXPECT_EQ(pacer.due(), start + 530ms);
  pacer.push({4}, start + 40ms);
  EXPECT_EQ(pacer.takeDue(start + 540ms), Bytes{3});
  EXPECT_EQ(pacer.due(), start + 550ms) << "an idle line saves no time up";
}

TEST(Shooter, GivesTheSameBytesForTheSameSeedOnEveryMachine) {
  const auto records = [](std::uint64_t seed, std::uint16_t distance) {
    Shooter shooter(seed, {3, 7, wire::noTarget, distance});
    std::vector<std::string> all(5000);
    for (auto& record : all) record = hexOf(shooter.next());
    return all;
  };
  const auto pinned = records(1, 250);
  EXPECT_EQ(pinned[0], "CA650001FC49ED7B00070000000000FA01");
  EXPECT_EQ(pinned[89], "CA65005AFE1DFFFAFFF5FFFA000000FA00");
  EXPECT_EQ(pinned[90], "CA6A0100FE1DFFFAFFF5FFFA000007FF03000007080003700000000000FA") << "where it aimed";
  EXPECT_EQ(records(2, 3000)[90], "CA6A0100FFFC003E0007FFF8000007FF030000070800039F000000000BB8");
}

TEST(Simulator, WritesDownEachPayloadOnceAndRestsWhenAHostHasGone) {
  const test::LoopbackDevice device;
  BXSerialCom com;
  com.initializePort(device.port);
  ASSERT_TRUE(com.openPort() && com.sendStartupCommand() && com.poll());
  EXPECT_TRUE(device.simulator.awaitTranscript("< ", 2));
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

// A host that knows nothing but bytes.
class RawHost {
 public:
  explicit RawHost(sim::LoopbackLine& line) : line_(line.hostEnd()) {
    line_->open({[this](auto bytes) {
                   const std::scoped_lock lock(mutex_);
                   received_ += hexOf(bytes);
                   changed_.notify_all();
                 },
                 {}});
  }
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
  const std::unique_ptr<link::Transport> line_;
};

TEST(Simulator, StreamsNothingOfAnEarlierModeAfterAModesAnswer) {
  const auto frame = [](const std::string& content) { return hexOf(link::encodeFrame(bytesOf(content))); };
  Options options;
  options.resend = 1min;
  options.rate = 100'000;
  options.stream.emplace(40, bytesOf("CA6A"));
  sim::LoopbackLine line;
  const Simulator simulator(options, line.deviceEnd());
  RawHost host(line);
  host.write("00043F016E03085500" + frame("00016F0372"));
  std::string expected = "0007730132CC085C00" + frame("2001596F");
  for (const char* control : {"22", "24", "26", "28", "2A", "2C"}) expected += frame(control + std::string("00CA6A"));
  EXPECT_EQ(host.await(expected), expected);
  host.write(frame("02026F0473") + frame("E1"));  // another mode; then all is acknowledged
  expected += frame("4E02596F");
  EXPECT_EQ(host.await(expected), expected);
}

class Disk : public testing::Test {
 protected:
  ~Disk() override { fs::remove_all(path); }

  std::string written(const std::string& text) const {
    std::ofstream(path / "input") << text;
    return (path / "input").string();
  }

  const fs::path path = fs::path(testing::TempDir()) / ("bx-simulator-test-" + std::to_string(getpid()));
  const bool created = fs::create_directory(path);
};

TEST_F(Disk, HoldsOnePayloadALine) {
  EXPECT_THAT(readStreamFile(written("# first\n\nCA6a 01\r\n  \t\n 59")),
              ElementsAre(bytesOf("CA6A01"), bytesOf("59")));
  EXPECT_THAT(readStoredFile(written("0 0 CA65\n5\t254  ca 6A\n")),
              ElementsAre(FieldsAre(0, 0, bytesOf("CA65")), FieldsAre(5, 254, bytesOf("CA6A"))));
  EXPECT_THAT(readScriptFile(written("63 00=59 63 00 41\n65 =\n")),
              ElementsAre(FieldsAre(bytesOf("6300"), bytesOf("59630041")), FieldsAre(bytesOf("65"), Bytes())));
}

TEST_F(Disk, HoldsWhatIsRefusedWithTheLineAndTheReason) {
  // A semicolon stands for the end of a line.
  for (const auto& row : test::rowsOf(R"(
    stream | CA;;CAF;  | :3: odd number of hexadecimal digits
    stream | 0x12      | :1: not a hexadecimal digit: 'x'
    stored | #;6 0 CA  | :2: the block is not a number from 0 to 5: '6'
    stored | 0 255 CA  | :1: the page is not a number from 0 to 254: '255'
    stored | 0 1x CA   | :1: the page is not a number from 0 to 254: '1x'
    stored | 0         | :1: the page is not a number from 0 to 254: ''
    stored | 0 1       | :1: no record after the page
    script | 63        | :1: no '=' between request and reply
    script | = 59      | :1: no request before the '=')")) {
    const std::string file = written(std::regex_replace(row[1], std::regex(";"), "\n"));
    const auto read = [&] {
      if (row[0] == "stream") readStreamFile(file);
      if (row[0] == "stored") readStoredFile(file);
      if (row[0] == "script") readScriptFile(file);
    };
    EXPECT_THAT(read, testing::ThrowsMessage<std::runtime_error>(file + row[2]));
  }
  EXPECT_THROW(readStreamFile((path / "none").string()), std::runtime_error);
  EXPECT_THROW(readStreamFile(path.string()), std::runtime_error);
}

}  // namespace
}  // namespace BX::sim
