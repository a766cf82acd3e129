// What a trace file says of the frames that pass.
#include <gmock/gmock.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "bx/BXSerialCom.h"
#include "platform/serial/Trace.h"
#include "tests/support/Hex.h"
#include "tests/support/HoldingLine.h"
#include "tests/support/LoopbackDevice.h"

namespace BX::link {
namespace {

using test::bytesOf;
using testing::Contains;
using testing::MatchesRegex;

TEST(TraceEntries, AreReadAsTheyAreWritten) {
  for (const char* line : {"0 * opened /dev/ttyUSB0", "1500 > 00023F0100 COM 7, left", "99 < 007300 a", "99 ! FF a",
                           "12345678901 * hung-up "}) {
    const auto entry = parseTraceEntry(line);
    ASSERT_TRUE(entry) << line;
    EXPECT_EQ(formatTraceEntry(*entry), line);
  }
  for (const char* line : {"", "x * opened a", "-", "1", "1 ?", "1 ? 00 a", "1 > 0 a", "1 > 0G a", "1 >  a",
                           "1 >> 00 a", "99999999999999999999 > 00 a"}) {
    EXPECT_FALSE(parseTraceEntry(line)) << line;
  }
}

class TraceFileTest : public testing::Test {
 protected:
  ~TraceFileTest() override {
    setTraceFile("");
    std::filesystem::remove(path_);
  }
  // "MARK CONTENT" of each line, without the framing of frames.
  std::vector<std::string> traced() const {
    std::vector<std::string> lines;
    std::ifstream file(path_);
    for (std::string line; std::getline(file, line);) {
      const auto entry = parseTraceEntry(line);
      if (!entry || entry->port != device_.port) throw std::runtime_error("not traced: " + line);
      std::string content = entry->mark == TraceMark::Event ? entry->event : test::hexOf(entry->bytes);
      FrameDecoder decoder;
      decoder.feed(entry->bytes, [&](auto bytes) { content = test::hexOf(bytes); });
      lines.push_back(std::string{static_cast<char>(entry->mark), ' '} + content);
    }
    return lines;
  }
  // A poll on the port, opened and closed, with stray bytes from the device at both ends.
  void poll() {
    class Stray : public Transport {
     public:
      explicit Stray(std::unique_ptr<Transport> inner) : inner_(std::move(inner)) {}
      void open(Events events) override {
        inner_->open(events);
        events.received(bytesOf("1122 00 3344556677 00"));
        received_ = std::move(events.received);
      }
      void write(std::vector<std::uint8_t> bytes) override { inner_->write(std::move(bytes)); }
      void close() override { inner_->close(); }

     private:
      std::unique_ptr<Transport> inner_;
      std::function<void(std::span<const std::uint8_t>)> received_;
    };
    setTransport(device_.port, [this](const auto&) { return std::make_unique<Stray>(device_.line.hostEnd()); });
    BXSerialCom com;
    com.initializePort(device_.port);
    ASSERT_TRUE(com.openPort());
    ASSERT_TRUE(com.poll());
  }

  test::LoopbackDevice device_;
  std::string path_ = (std::filesystem::temp_directory_path() / ("bx-trace-" + std::to_string(getpid()))).string();
};

TEST_F(TraceFileTest, HoldsEveryFrameAndWhatWasDropped) {
  ASSERT_TRUE(setTraceFile(path_));
  poll();
  setTraceFile("");
  const auto lines = traced();
  EXPECT_EQ(lines.front(), "* opened");
  EXPECT_EQ(lines.back(), "* closed");
  for (const char* line : {"! 1122", "! 3344556677", "> 3F..", "< 73..", "> 00017070", "< ..015970", "> 53"}) {
    EXPECT_THAT(lines, Contains(MatchesRegex(line)));
  }
  poll();
  EXPECT_EQ(traced(), lines);  // no more, once it is off
}

TEST_F(TraceFileTest, TellsWhenItCannotBeWritten) {
  EXPECT_FALSE(setTraceFile("/no/such/folder/trace"));
  poll();
}

}  // namespace
}  // namespace BX::link
