// What is refused, what is warned about, and what passes in a document.
#include <gmock/gmock.h>

#include <filesystem>
#include <map>
#include <regex>

#include "tests/support/Table.h"
#include "tools/bx/Documents.h"

namespace BX::tool {
namespace {

using ::testing::AllOf, ::testing::Contains, ::testing::HasSubstr, ::testing::IsEmpty, ::testing::StartsWith;

using Texts = std::vector<std::string>;

auto tableIn(const std::string& name) { return test::rowsOf(test::textIn(BX_SOURCE_DIR "/tests/tool/" + name)); }

Findings checked(const std::string& document, const std::string& kind) {
  static const std::map<std::string, DocumentKind> kinds = {{"device", DocumentKind::DeviceSettings},
                                                            {"session", DocumentKind::SessionSettings},
                                                            {"ring", DocumentKind::RingTarget},
                                                            {"silhouette", DocumentKind::SilhouetteTarget}};
  return check(parseDocument(document, "test"), kinds.at(kind));
}

TEST(Check, RefusesWhatDoesNotBelongThereOrDoesNotFitTheWire) {
  for (const auto& row : tableIn("refused.txt")) {
    std::string problems;
    for (const auto& problem : checked(row[1], row[0]).problems) problems += (problems.empty() ? "" : "; ") + problem;
    EXPECT_EQ(problems, row[2]) << row[1];
  }
}

TEST(Check, BitmapsHave64RowsOf64PixelsFrom0To3) {
  std::string begun = "[2";
  for (int i = 1; i < 63; ++i) begun += ",1";
  for (const auto& row : tableIn("bitmaps.txt")) {
    std::string text = R"({"SilhouetteTargetNumber": 0, "SilhouetteTarget": [)" + row[1];
    for (int i = 1; i < std::stoi(row[0]); ++i) text += ",BEGUN,3]";
    const auto problems = checked(std::regex_replace(text + "]}", std::regex("BEGUN"), begun), "silhouette").problems;
    EXPECT_EQ(problems, row[2].empty() ? Texts() : Texts{"\"SilhouetteTarget\" " + row[2]});
  }
}

TEST(Check, WarnsOfWhatTheLibraryTakesInstead) {
  EXPECT_EQ(checked("{}", "session").warnings.size(), 3U);
  for (const auto& row : tableIn("warned.txt")) {
    EXPECT_THAT(checked(row[1], row[0]).warnings, Contains(row[2])) << row[1];
  }
}

TEST(Check, TellsByLineAndColumnWhatIsNotJson) {
  const std::pair<std::string, std::string> table[] = {{"", "1, column 1: "},
                                                       {"{} x", "1, column 4: "},
                                                       {"{\n\n  \"a\": tru\n}", "3, column 11: "},
                                                       {std::string("{}\0{}", 5), "1, column 3: "},
                                                       {R"({"a":Infinity})", "1, column 6: "},
                                                       {R"({"a":1e400})", "1, column "},
                                                       {std::string(10'000, '['), "1, column 10001: "},
                                                       {"{\"a\": \"\xFF\"}", "1, column 8: "}};
  for (const auto& [text, place] : table) {
    EXPECT_THAT([&text = text] { parseDocument(text, "file"); },
                ::testing::ThrowsMessage<Failure>(AllOf(StartsWith("file: line " + place), HasSubstr(": not JSON: "))));
  }
}

TEST(Check, FindsEveryExampleComplete) {
  for (const auto& file : std::filesystem::directory_iterator(BX_SOURCE_DIR "/examples")) {
    if (file.path().extension() != ".json") continue;
    const std::string name = file.path().stem().string();  // begins with the kind
    const auto findings = checked(readDocument(file.path().string()).toString(), name.substr(0, name.find('-')));
    EXPECT_THAT(findings.problems, IsEmpty()) << name;
    EXPECT_THAT(findings.warnings, IsEmpty()) << name;
  }
}

}  // namespace
}  // namespace BX::tool
