// What docs/ says about documents and payloads, held against the code.
#include <regex>

#include "records/RecordDecoder.h"
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

std::string section(const std::string& page, const std::string& title) {
  const auto text = sourceText(page);
  const auto begin = text.find("\n## " + title + "\n");
  if (begin == std::string::npos) throw std::runtime_error("no section " + title);
  return text.substr(begin, text.find("\n## ", begin + 1) - begin);
}

Names tableKeys(const std::string& title) { return matches(section("docs/documents.md", title), "\n\\| `(\\w+)`"); }

Names memberNames(const Json& document) {
  Names names;
  for (const auto& member : document.getDocument().GetObject()) names.emplace_back(member.name.GetString());
  return names;
}

TEST(Documents, NameEveryKeyOfTheCode) {
  const auto page = sourceText("docs/documents.md");
  for (const auto* header : {"include/bx/DocumentKeys.h"}) {
    const auto keys = matches(sourceText(header), "constexpr auto \\w+ = \"(\\w+)\"");
    EXPECT_GE(keys.size(), 20U) << header;
    for (const auto& key : keys) EXPECT_NE(page.find('`' + key), std::string::npos) << key;
  }
}

TEST(Documents, ListTheMembersOfRecordsInTheirOrder) {
  records::Shot shot;
  shot.aimingTime = 1.5;
  EXPECT_EQ(tableKeys("Shot"), memberNames(records::shotDocument(shot)));
  EXPECT_EQ(tableKeys("Measurement"), memberNames(records::measurementDocument({})));
}

TEST(Payloads, OfTheRingExampleAreAsDocumented) {
  const auto block = matches(section("docs/wire.md", "Ring targets"), "\n([<>] [0-9A-F]+)");
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
