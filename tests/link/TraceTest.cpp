// What a trace file says of the frames that pass.
#include <gmock/gmock.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "bx/BXSerialCom.h"
#include "platform/serial/Trace.h"
#include "tests/support/DisturbedLine.h"
#include "tests/support/Hex.h"

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

// Says something that is no frame as soon as it is open.
class StrayLine : public test::Around {
 public:
  using Around::Around;
  void open(Events events) override {
    Around::open(events);
    events.received(bytesOf("1122 00 3344556677 00"));
  }
};

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
  // A poll on the port, opened and closed.
  void poll() {
    setTransport(device_.port, [this](const auto&) { return std::make_unique<StrayLine>(device_.line.hostEnd()); });
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
