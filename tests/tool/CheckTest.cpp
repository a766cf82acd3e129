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

Findings checked(const std::string& document, const std::string& kind) {
  static const std::map<std::string, DocumentKind> kinds = {{"device", DocumentKind::DeviceSettings},
                                                            {"session", DocumentKind::SessionSettings},
                                                            {"ring", DocumentKind::RingTarget},
                                                            {"silhouette", DocumentKind::SilhouetteTarget}};
  return check(parseDocument(document, "test"), kinds.at(kind));
}

TEST(Check, RefusesWhatDoesNotBelongThereOrDoesNotFitTheWire) {
  for (const auto& row : test::rowsOf(R"(
    device  | []                         | is an array where an object is expected
    device  | {"UseZeroing": 1}          | "UseZeroing" is a number where true or false is expected
    device  | {"Mounting": null}         | "Mounting" is null where a text is expected
    device  | {"Mounting": "below"}      | "Mounting" is "below" where one of "ABOVE", "BELOW", "LEFT", "RIGHT" is expected (the library takes ABOVE)
    device  | {"LockArrows": [], "SerialNumber": 5, "Mounting": "BELOW"} |
    device  | {"UseZeroing": true, "LockArrows": [{"a": {"a": 1}, "a": 2}], "UseZeroing": false} | "a", "UseZeroing" more than once (the library takes the first)
    device  | {"isInFieldMode": true, "WakeupAngle": 5} | has no key of device settings; "isInFieldMode", "WakeupAngle" belong to session settings
    session | {} | has no key of session settings (session settings have "isInFieldMode", "NumberOfBullets", "WakeupAngle", "ShotRejectionAngle", "SleepTimeout", "TriggerSensitivity", "CockingDelay")
    session | {"wakupAngel": 5, "CockingDelay": 1} | unknown key "wakupAngel" (did you mean "WakeupAngle"?)
    session | {"WakeupAngle": "5"}       | "WakeupAngle" is a text where a whole number is expected
    session | {"WakeupAngle": 5.5}       | "WakeupAngle" 5.5 is no whole number
    session | {"CockingDelay": 25.6}     | "CockingDelay" 25.6 does not fit the wire (0 to 25.5)
    session | {"NumberOfBullets": 256}   | "NumberOfBullets" 256 does not fit the wire (0 to 255)
    session | {"NumberOfBullets": -1}    | "NumberOfBullets" -1 does not fit the wire (0 to 255)
    session | {"WakeupAngle": 5.0, "NumberOfBullets": 255, "CockingDelay": 25.59} |
    ring    | {"TargetNumber": 1, "VariableRingGaps": 0, "TargetType": "RING"} | missing "RingTargetNumber"
    ring    | {"RingTargetNumber": 1, "DiameterHighestRng": 5} | unknown key "DiameterHighestRng" (did you mean "DiameterHighestRing"?)
    ring    | {"RingTargetNumber": 255}  | "RingTargetNumber" 255 does not fit the wire (0 to 254)
    ring    | {"RingTargetNumber": 1, "TargetName": 7} | "TargetName" is a number where a text is expected
    ring    | {"RingTargetNumber": 1, "NominalDistance": 6554} | "NominalDistance" 6554 does not fit the wire (0 to 6553)
    ring    | {"RingTargetNumber": 1, "Caliber": 100} | "Caliber" 100 does not fit the wire (0 to 65.535)
    ring    | {"RingTargetNumber": 1, "DiameterVariableHminus11": 656} | "DiameterVariableHminus11" 656 does not fit the wire (0 to 655)
    ring    | {"RingTargetNumber": 1, "Caliber": 100, "CaliberUnit": "mm", "NominalDistance": 6553} |
    ring    | {"RingTargetNumber": 1, "DiameterX": 656, "RingGapUnitType": "Millimeters"} |
    silhouette | {"SilhouetteTargetNumber": 0, "TargetWidth": 6554, "RingGapUnitType": "cm"} | "TargetWidth" 6554 does not fit the wire (0 to 6553)
    silhouette | {"SilhouetteTargetNumber": 0, "TargetWidth": 6554, "RingGapUnitType": "mm"} |)")) {
    std::string problems;
    for (const auto& problem : checked(row[1], row[0]).problems) problems += (problems.empty() ? "" : "; ") + problem;
    EXPECT_EQ(problems, row[2]) << row[1];
  }
}

TEST(Check, BitmapsHave64RowsOf64PixelsFrom0To3) {
  std::string begun = "[2";
  for (int i = 1; i < 63; ++i) begun += ",1";
  for (const auto& row : test::rowsOf(R"(
    64 | BEGUN,3]   |
    63 | BEGUN,3]   | has 63 rows where 64 are expected
    65 | BEGUN,3]   | has 65 rows where 64 are expected
    64 | BEGUN]     | row 0 has 63 pixels where 64 are expected
    64 | BEGUN,3,3] | row 0 has 65 pixels where 64 are expected
    64 | BEGUN,4]   | row 0 pixel 63 is no whole number from 0 to 3
    64 | 7          | row 0 is a number where an array of 64 pixels is expected)")) {
    std::string text = R"({"SilhouetteTargetNumber": 0, "SilhouetteTarget": [)" + row[1];
    for (int i = 1; i < std::stoi(row[0]); ++i) text += ",BEGUN,3]";
    const auto problems = checked(std::regex_replace(text + "]}", std::regex("BEGUN"), begun), "silhouette").problems;
    EXPECT_EQ(problems, row[2].empty() ? Texts() : Texts{"\"SilhouetteTarget\" " + row[2]});
  }
}

TEST(Check, WarnsOfWhatTheLibraryTakesInstead) {
  EXPECT_EQ(checked("{}", "session").warnings.size(), 3U);
  for (const auto& row : test::rowsOf(R"(
    session | {} | missing "isInFieldMode": the library takes true
    session | {} | missing "CockingDelay": the library takes the largest double, sent as 0
    session | {"SleepTimeout": 1, "WakeupAngle": 1, "TriggerSensitivity": 1} | missing "NumberOfBullets", "ShotRejectionAngle": the library takes 2147483647, sent as 255
    ring    | {} | missing "TargetName": the library takes "M16 200 yd"
    ring    | {} | missing "HIBMinScore": the library takes 2147483647, sent as 246
    ring    | {} | missing "RingsGapsUnit": the library takes variable gaps
    ring    | {"TargetName": ""} | "TargetName" is empty: the library takes "M16 200 yd"
    ring    | {"TargetName": "0123456789a"} | "TargetName" has 11 bytes: all are sent, and a device gives back 10)")) {
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
