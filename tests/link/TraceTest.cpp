// The lines of a trace. What they say of a session is held by its replay.
#include <gtest/gtest.h>

#include "platform/codec/Trace.h"

namespace BX::link {
namespace {

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

}  // namespace
}  // namespace BX::link
