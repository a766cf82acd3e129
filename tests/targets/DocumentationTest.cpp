// What docs/ says about documents and payloads, held against the code.
#include <regex>

#include "tests/targets/TargetTesting.h"

namespace BX::test {
namespace {

using Names = std::vector<std::string>;

// The first group of every match.
Names matches(const std::string& text, const std::string& pattern) {
  const std::regex expression(pattern);
  Names names;
  for (std::sregex_iterator match(text.begin(), text.end(), expression), end; match != end; ++match) {
    names.push_back((*match)[1]);
  }
  return names;
}

TEST(Documents, NameEveryKeyOfTheCode) {
  const auto page = sourceText("docs/documents.md");
  const auto keys = matches(sourceText("include/bx/DocumentKeys.h"), "constexpr auto \\w+ = \"(\\w+)\"");
  EXPECT_GE(keys.size(), 60U);
  for (const auto& key : keys) EXPECT_NE(page.find('`' + key), std::string::npos) << key;
}

TEST(Payloads, OfTheRingExampleAreAsDocumented) {
  const auto block = matches(sourceText("docs/wire.md"), "\n([<>] [0-9A-F]+)");
  Transfer transfer;
  ASSERT_TRUE(transfer.uploadRing(example("ring-25m-precision-pistol.json")));
  ASSERT_TRUE(transfer.device.downloadRingTarget(1));
  ASSERT_TRUE(transfer.simulator.awaitTranscript(block.back(), 1));
  const auto transcript = transfer.simulator.transcript();
  ASSERT_GE(transcript.size(), block.size());
  EXPECT_EQ(Names(transcript.end() - static_cast<std::ptrdiff_t>(block.size()), transcript.end()), block);
}

}  // namespace
}  // namespace BX::test
