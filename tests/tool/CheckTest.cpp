// What is refused, what is warned about, and what passes in a document.
#include <gmock/gmock.h>

#include "tools/bx/Documents.h"

namespace BX::tool {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr auto device = DocumentKind::DeviceSettings;
constexpr auto session = DocumentKind::SessionSettings;
constexpr auto ring = DocumentKind::RingTarget;
constexpr auto silhouette = DocumentKind::SilhouetteTarget;

Findings checked(const std::string& document, DocumentKind kind) {
  return check(parseDocument(document, "test"), kind);
}

TEST(Check, RefusesWrongTypesAndWhatDoesNotFitTheWire) {
  const struct {
    DocumentKind kind;
    const char* document;
    const char* problem;
  } table[] = {
      {device, R"([])", "is an array where an object is expected"},
      {device, R"({"UseZeroing": 1})", "\"UseZeroing\" is a number where true or false is expected"},
      {device, R"({"Mounting": null})", "\"Mounting\" is null where a text is expected"},
      {session, R"({"WakeupAngle": "5"})", "\"WakeupAngle\" is a text where a whole number is expected"},
      {session, R"({"WakeupAngle": 5.5})", "\"WakeupAngle\" 5.5 is no whole number"},
      {session, R"({"CockingDelay": 25.6})", "\"CockingDelay\" 25.6 does not fit the wire (0 to 25.5)"},
      {session, R"({"NumberOfBullets": 256})", "\"NumberOfBullets\" 256 does not fit the wire (0 to 255)"},
      {session, R"({"NumberOfBullets": -1})", "\"NumberOfBullets\" -1 does not fit the wire (0 to 255)"},
      {ring, R"({})", "missing \"RingTargetNumber\""},
      {ring, R"({"RingTargetNumber": 255})", "\"RingTargetNumber\" 255 does not fit the wire (0 to 254)"},
      {ring, R"({"RingTargetNumber": 1, "TargetName": 7})", "\"TargetName\" is a number where a text is expected"},
      {ring, R"({"RingTargetNumber": 1, "NominalDistance": 6554})",
       "\"NominalDistance\" 6554 does not fit the wire (0 to 6553)"},
      {ring, R"({"RingTargetNumber": 1, "Caliber": 100})", "\"Caliber\" 100 does not fit the wire (0 to 65.535)"},
      {ring, R"({"RingTargetNumber": 1, "DiameterVariableHminus11": 99999999999999})",
       "\"DiameterVariableHminus11\" 99999999999999 does not fit the wire (0 to 655)"},
      {silhouette, R"({"SilhouetteTargetNumber": 0, "TargetWidth": 6554, "RingGapUnitType": "cm"})",
       "\"TargetWidth\" 6554 does not fit the wire (0 to 6553)"}};
  for (const auto& [kind, document, problem] : table) {
    EXPECT_THAT(checked(document, kind).problems, ElementsAre(problem));
  }
}

TEST(Check, LetsPassWhatJustFitsAndWhatIsNotSent) {
  const std::pair<DocumentKind, const char*> table[] = {
      {device, R"({"LockArrows": [], "SerialNumber": 5, "Mounting": "below"})"},
      {session, R"({"WakeupAngle": 5.0, "NumberOfBullets": 255, "CockingDelay": 25.59})"},
      {ring, R"({"RingTargetNumber": 1, "NominalDistance": 6553, "Caliber": 100, "CaliberUnit": "mm",
                 "DiameterX": 656, "RingGapUnitType": "Millimeters"})"},
      {silhouette, R"({"SilhouetteTargetNumber": 0, "TargetWidth": 6554, "RingGapUnitType": "mm"})"}};
  for (const auto& [kind, document] : table) EXPECT_THAT(checked(document, kind).problems, IsEmpty()) << document;
}

std::string bitmap(std::size_t rows, const std::string& firstRow) {
  std::string row = "[0";
  for (int i = 1; i < 64; ++i) row += ",3";
  std::string text = R"({"SilhouetteTargetNumber": 0, "SilhouetteTarget": [)" + firstRow;
  for (std::size_t i = 1; i < rows; ++i) text += "," + row + "]";
  return text + "]}";
}

TEST(Check, BitmapsHave64RowsOf64PixelsFrom0To3) {
  std::string begun = "[2";
  for (int i = 1; i < 63; ++i) begun += ",1";
  const auto problems = [](std::size_t rows, const std::string& firstRow) {
    return checked(bitmap(rows, firstRow), silhouette).problems;
  };
  EXPECT_THAT(problems(64, begun + ",3]"), IsEmpty());
  for (const std::size_t rows : {63U, 65U}) {
    EXPECT_THAT(problems(rows, begun + ",3]"),
                ElementsAre("\"SilhouetteTarget\" has " + std::to_string(rows) + " rows where 64 are expected"));
  }
  EXPECT_THAT(problems(64, begun + "]"), ElementsAre("\"SilhouetteTarget\" row 0 has 63 pixels where 64 are expected"));
  EXPECT_THAT(problems(64, begun + ",3,3]"),
              ElementsAre("\"SilhouetteTarget\" row 0 has 65 pixels where 64 are expected"));
  EXPECT_THAT(problems(64, begun + ",4]"),
              ElementsAre("\"SilhouetteTarget\" row 0 pixel 63 is no whole number from 0 to 3"));
  EXPECT_THAT(problems(64, "7"),
              ElementsAre("\"SilhouetteTarget\" row 0 is a number where an array of 64 pixels is expected"));
}

TEST(Check, WarnsOfWhatTheLibraryTakesInstead) {
  EXPECT_THAT(checked("{}", session).warnings,
              ElementsAre("missing \"isInFieldMode\": the library takes true",
                          "missing \"NumberOfBullets\", \"WakeupAngle\", \"ShotRejectionAngle\", \"SleepTimeout\", "
                          "\"TriggerSensitivity\": the library takes 2147483647, sent as 255",
                          "missing \"CockingDelay\": the library takes the largest double, sent as 0"));
  EXPECT_THAT(checked("{}", ring).warnings,
              AllOf(Contains("missing \"TargetName\": the library takes \"M16 200 yd\""),
                    Contains("missing \"HIBMinScore\": the library takes 2147483647, sent as 246"),
                    Contains("missing \"RingsGapsUnit\": the library takes variable gaps")));
  EXPECT_THAT(checked(R"({"Mounting": "below"})", device).warnings,
              Contains("\"Mounting\" is \"below\": the library takes ABOVE"));
  EXPECT_THAT(checked(R"({"TargetName": "0123456789a"})", ring).warnings,
              Contains("\"TargetName\" has 11 bytes: all are sent, and a device gives back 10"));
}

TEST(Check, TellsByLineAndColumnWhatIsNotJson) {
  const std::pair<std::string, const char*> table[] = {{"", "line 1, column 1"},
                                                       {"{} x", "line 1, column 4"},
                                                       {"{\n\n  \"a\": tru\n}", "line 3, column 11"},
                                                       {std::string("{}\0{}", 5), "line 1, column 3"},
                                                       {R"({"a":Infinity})", "line 1, column 6"},
                                                       {R"({"a":1e400})", "line 1, column "},
                                                       {std::string(10'000, '['), "line 1, column 10001"},
                                                       {"{\"a\": \"\xFF\"}", "line 1, column 8"}};
  for (const auto& [text, place] : table) {
    try {
      parseDocument(text, "file");
      ADD_FAILURE() << "was taken: " << text;
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.status(), wrongUsage);
      EXPECT_THAT(failure.what(),
                  AllOf(::testing::StartsWith(std::string("file: ") + place), ::testing::HasSubstr(": not JSON: ")));
    }
  }
}

TEST(Check, FindsEveryExampleComplete) {
  const std::pair<const char*, DocumentKind> examples[] = {
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
