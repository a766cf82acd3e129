// What is refused, what is warned about, and what passes in a document.
#include <gmock/gmock.h>

#include <fstream>
#include <iterator>

#include "tools/bx/Documents.h"

namespace BX::tool {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct Case {
  DocumentKind kind;
  const char* document;
  const char* phrase;  // empty: nothing is refused
};

constexpr auto device = DocumentKind::DeviceSettings;
constexpr auto session = DocumentKind::SessionSettings;
constexpr auto ring = DocumentKind::RingTarget;
constexpr auto silhouette = DocumentKind::SilhouetteTarget;

class Refused : public ::testing::TestWithParam<Case> {};

TEST_P(Refused, OrNot) {
  const auto findings = check(parseDocument(GetParam().document, "test"), GetParam().kind);
  if (*GetParam().phrase == '\0') {
    EXPECT_THAT(findings.problems, IsEmpty());
  } else {
    EXPECT_THAT(findings.problems, ElementsAre(GetParam().phrase));
  }
}

INSTANTIATE_TEST_SUITE_P(
    Types, Refused,
    ::testing::Values(
        Case{device, R"([])", "is an array where an object is expected"},
        Case{device, R"({"UseZeroing": 1})", "\"UseZeroing\" is a number where true or false is expected"},
        Case{device, R"({"CountRingScore": "yes"})", "\"CountRingScore\" is a text where true or false is expected"},
        Case{device, R"({"Mounting": null})", "\"Mounting\" is null where a text is expected"},
        Case{device, R"({"LockArrows": [], "SerialNumber": 5, "Mounting": "below"})", ""},
        Case{session, R"({"WakeupAngle": "5"})", "\"WakeupAngle\" is a text where a whole number is expected"},
        Case{session, R"({"WakeupAngle": 5.5})", "\"WakeupAngle\" 5.5 is no whole number"},
        Case{session, R"({"WakeupAngle": 5.0})", ""},
        Case{session, R"({"CockingDelay": true})", "\"CockingDelay\" is a boolean where a number is expected"},
        Case{ring, R"({"RingTargetNumber": 1, "TargetName": 7})",
             "\"TargetName\" is a number where a text is expected"}));

INSTANTIATE_TEST_SUITE_P(
    Ranges, Refused,
    ::testing::Values(
        Case{session, R"({"NumberOfBullets": 255})", ""},
        Case{session, R"({"NumberOfBullets": 256})", "\"NumberOfBullets\" 256 does not fit the wire (0 to 255)"},
        Case{session, R"({"NumberOfBullets": -1})", "\"NumberOfBullets\" -1 does not fit the wire (0 to 255)"},
        Case{session, R"({"CockingDelay": 25.59})", ""},
        Case{session, R"({"CockingDelay": 25.6})", "\"CockingDelay\" 25.6 does not fit the wire (0 to 25.5)"},
        Case{ring, R"({})", "missing \"RingTargetNumber\""},
        Case{ring, R"({"RingTargetNumber": 255})", "\"RingTargetNumber\" 255 does not fit the wire (0 to 254)"},
        Case{ring, R"({"RingTargetNumber": 1, "NominalDistance": 6553})", ""},
        Case{ring, R"({"RingTargetNumber": 1, "NominalDistance": 6554})",
             "\"NominalDistance\" 6554 does not fit the wire (0 to 6553)"},
        Case{ring, R"({"RingTargetNumber": 1, "HIBMinScore": 26})",
             "\"HIBMinScore\" 26 does not fit the wire (0 to 25)"},
        Case{ring, R"({"RingTargetNumber": 1, "Caliber": 100, "CaliberUnit": "mm"})", ""},
        Case{ring, R"({"RingTargetNumber": 1, "Caliber": 100})", "\"Caliber\" 100 does not fit the wire (0 to 65.535)"},
        Case{ring, R"({"RingTargetNumber": 1, "DiameterX": 656, "RingGapUnitType": "Millimeters"})", ""},
        Case{ring, R"({"RingTargetNumber": 1, "DiameterX": 656})",
             "\"DiameterX\" 656 does not fit the wire (0 to 655)"},
        Case{ring, R"({"RingTargetNumber": 1, "DiameterVariableHminus11": 99999999999999})",
             "\"DiameterVariableHminus11\" 99999999999999 does not fit the wire (0 to 655)"},
        Case{ring, R"({"RingTargetNumber": 1, "TargetName": "0123456789"})", ""},
        Case{ring, R"({"RingTargetNumber": 1, "TargetName": 10})",
             "\"TargetName\" is a number where a text is expected"},
        Case{silhouette, R"({})", "missing \"SilhouetteTargetNumber\""},
        Case{silhouette, R"({"SilhouetteTargetNumber": 0, "TargetWidth": 6554, "RingGapUnitType": "mm"})", ""},
        Case{silhouette, R"({"SilhouetteTargetNumber": 0, "TargetWidth": 6554, "RingGapUnitType": "cm"})",
             "\"TargetWidth\" 6554 does not fit the wire (0 to 6553)"}));

std::string bitmap(std::size_t rows, const std::string& firstRow) {
  std::string row = "0";
  for (int i = 1; i < 64; ++i) row += ",3";
  std::string text = R"({"SilhouetteTargetNumber": 0, "SilhouetteTarget": [)" + firstRow;
  for (std::size_t i = 1; i < rows; ++i) text += ",[" + row + "]";
  return text + "]}";
}

TEST(Check, BitmapsHave64RowsOf64PixelsFrom0To3) {
  std::string full = "[2";
  for (int i = 1; i < 64; ++i) full += ",1";
  const auto problemsOf = [](const std::string& text) {
    return check(parseDocument(text, "test"), silhouette).problems;
  };
  EXPECT_THAT(problemsOf(bitmap(64, full + "]")), IsEmpty());
  EXPECT_THAT(problemsOf(bitmap(63, full + "]")),
              ElementsAre("\"SilhouetteTarget\" has 63 rows where 64 are expected"));
  EXPECT_THAT(problemsOf(bitmap(65, full + "]")),
              ElementsAre("\"SilhouetteTarget\" has 65 rows where 64 are expected"));
  EXPECT_THAT(problemsOf(bitmap(64, full + ",1]")),
              ElementsAre("\"SilhouetteTarget\" row 0 has 65 pixels where 64 are expected"));
  EXPECT_THAT(problemsOf(bitmap(64, "7")),
              ElementsAre("\"SilhouetteTarget\" row 0 is a number where an array of 64 pixels is expected"));
  full.replace(1, 1, "4");
  EXPECT_THAT(problemsOf(bitmap(64, full + "]")),
              ElementsAre("\"SilhouetteTarget\" row 0 pixel 0 is no whole number from 0 to 3"));
}

TEST(Check, WarningsTellWhatTheLibraryTakesInstead) {
  EXPECT_THAT(check(Json(), session).warnings,
              ElementsAre("missing \"isInFieldMode\": the library takes true",
                          "missing \"NumberOfBullets\", \"WakeupAngle\", \"ShotRejectionAngle\", \"SleepTimeout\", "
                          "\"TriggerSensitivity\": the library takes 2147483647, sent as 255",
                          "missing \"CockingDelay\": the library takes the largest double, sent as 0"));
  const auto ringWarnings = check(Json(), ring).warnings;
  EXPECT_THAT(ringWarnings, Contains("missing \"TargetName\": the library takes \"M16 200 yd\""));
  EXPECT_THAT(ringWarnings, Contains("missing \"HIBMinScore\": the library takes 2147483647, sent as 246"));
  EXPECT_THAT(ringWarnings, Contains("missing \"RingsGapsUnit\": the library takes variable gaps"));
  EXPECT_THAT(check(parseDocument(R"({"Mounting": "below"})", "test"), device).warnings,
              Contains("\"Mounting\" is \"below\": the library takes ABOVE"));
  EXPECT_THAT(check(parseDocument(R"({"TargetName": "0123456789a"})", "test"), ring).warnings,
              Contains("\"TargetName\" has 11 bytes: all are sent, and a device gives back 10"));
}

struct Broken {
  std::string text;
  const char* place;
};

class NotJson : public ::testing::TestWithParam<Broken> {};

TEST_P(NotJson, IsToldByLineAndColumn) {
  try {
    parseDocument(GetParam().text, "file");
    ADD_FAILURE() << "was taken: " << GetParam().text;
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.status(), wrongUsage);
    EXPECT_THAT(failure.what(), ::testing::StartsWith(std::string("file: ") + GetParam().place + ": not JSON: "));
  }
}

INSTANTIATE_TEST_SUITE_P(Document, NotJson,
                         ::testing::Values(Broken{"", "line 1, column 1"}, Broken{"{} x", "line 1, column 4"},
                                           Broken{"{\n\n  \"a\": tru\n}", "line 3, column 11"},
                                           Broken{std::string("{}\0{}", 5), "line 1, column 3"},
                                           Broken{"{\"a\": \"\xFF\"}", "line 1, column 8"}));

TEST(Check, EveryExampleIsComplete) {
  const std::vector<std::pair<const char*, DocumentKind>> examples = {
      {"device-settings.json", device}, {"session-settings.json", session}, {"ring-25m-precision-pistol.json", ring},
      {"ring-300m-rifle.json", ring},   {"ring-600yd-rifle.json", ring},    {"silhouette-torso.json", silhouette}};
  for (const auto& [name, kind] : examples) {
    const auto findings = check(readDocument(std::string(BX_SOURCE_DIR) + "/examples/" + name), kind);
    EXPECT_THAT(findings.problems, IsEmpty()) << name;
    EXPECT_THAT(findings.warnings, IsEmpty()) << name;
  }
}

}  // namespace
}  // namespace BX::tool
