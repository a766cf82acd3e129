// What a trace file says of the frames that pass.
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "bx/BXSerialCom.h"
#include "platform/codec/Trace.h"
#include "tests/support/DisturbedLine.h"
#include "tests/support/Hex.h"

namespace BX::link {
namespace {

using test::bytesOf;
using testing::HasSubstr;

TEST(TraceEntries, AreReadAsTheyAreWritten) {
  for (const char* line : {"0 * opened /dev/ttyUSB0", "1500 > 00023F0100 COM 7, left", "99 < 007300 a", "99 ! FF a",
                           "12345678901 * hung-up "}) {
    const auto entry = parseTraceEntry(line);
    ASSERT_TRUE(entry) << line;
    EXPECT_EQ(formatTraceEntry(*entry), line);
  }
  for (const char* line : {"", "x * opened a", "1x * opened a", "-", "1", "1 ?", "1 ? 00 a", "1 > 0 a", "1 > 0G a",
                           "1 >  a", "1 >> 00 a", "99999999999999999999 > 00 a"}) {
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

// What is traced of a device that is opened, begun and closed.
std::string traceOf(const std::string& path) {
  test::LoopbackDevice device;
  setTransport(device.port, [&](const auto&) { return std::make_unique<StrayLine>(device.line.hostEnd()); });
  setTraceFile(path);
  {
    BXSerialCom com;
    com.initializePort(device.port);
    EXPECT_TRUE(com.openPort() && com.sendStartupCommand());
  }
  setTraceFile("");
  std::stringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

TEST(TraceFile, HoldsEveryFrameAndWhatWasDropped) {
  const std::string path = testing::TempDir() + "bx-trace-test";
  const std::string text = traceOf(path);
  for (const char* entry :
       {"* opened", "! 1122", "! 3344556677", "> 000108017373ED98BF9800", "< 00092001597322C1DC8E00", "* closed"}) {
    EXPECT_THAT(text, HasSubstr(entry + std::string(" loopback\n")));
  }
  std::filesystem::remove(path);
  // Without one the link works all the same.
  EXPECT_FALSE(setTraceFile("/no/such/folder/trace"));
  EXPECT_EQ(traceOf("/no/such/folder/trace"), "");
}

}  // namespace
}  // namespace BX::link
