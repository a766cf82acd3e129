#include "morva/KeyedAccess.h"

#include <gmock/gmock.h>

#include <functional>

namespace {

using namespace MORVA;

constexpr std::int32_t smallest = std::numeric_limits<std::int32_t>::min();

MORVADataTypeJSON parsed(const std::string& text) {
  MORVADataTypeJSON document;
  EXPECT_TRUE(document.parseString(text)) << text;
  return document;
}

std::string errorTextOf(const std::function<void()>& action) {
  testing::internal::CaptureStderr();
  action();
  return testing::internal::GetCapturedStderr();
}

struct ReadCase {
  const char* json;  // of the member "k"; null: no such member
  bool boolean;
  std::int32_t integer;
  double number;
  const char* text;
  const char* document;
};

class Reading : public testing::TestWithParam<ReadCase> {};

TEST_P(Reading, GivesTheValueOrTheMissingKeyResult) {
  const ReadCase& expected = GetParam();
  const auto document =
      parsed(expected.json ? R"({"other":0,"k":)" + std::string(expected.json) + "}" : R"({"other":0})");
  const std::string line = "Value not found with id: k\n";
  EXPECT_EQ(errorTextOf([&] { EXPECT_EQ(getBoolean(document, "k"), expected.boolean); }), expected.json ? "" : line);
  EXPECT_EQ(errorTextOf([&] { EXPECT_EQ(getInteger(document, "k"), expected.integer); }),
            expected.integer == missingInteger ? line : "");
  EXPECT_EQ(errorTextOf([&] { EXPECT_EQ(getDouble(document, "k"), expected.number); }),
            expected.number == missingDouble ? line : "");
  EXPECT_EQ(errorTextOf([&] {
              EXPECT_EQ(getText(document, "k"), expected.text);
              EXPECT_EQ(getDocument(document, "k").toString(), expected.document);
            }),
            "");
}

INSTANTIATE_TEST_SUITE_P(
    Table, Reading,
    testing::Values(ReadCase{nullptr, true, missingInteger, missingDouble, "", "{}"},
                    ReadCase{"true", true, 1, missingDouble, "", "{}"},
                    ReadCase{"false", false, 0, missingDouble, "", "{}"},
                    ReadCase{"null", true, missingInteger, missingDouble, "", "{}"},
                    ReadCase{"\"0\"", true, missingInteger, missingDouble, "0", "{}"},
                    ReadCase{R"({"a":[1]})", true, missingInteger, missingDouble, "", R"({"a":[1]})"},
                    ReadCase{R"([{"a":1},2])", true, missingInteger, missingDouble, "", R"([{"a":1},2])"},
                    ReadCase{"0", false, 0, 0.0, "", "{}"}, ReadCase{"-7", true, -7, -7.0, "", "{}"},
                    ReadCase{"-0.0", false, 0, -0.0, "", "{}"}, ReadCase{"0.25", true, 0, 0.25, "", "{}"},
                    ReadCase{"-2.999", true, -2, -2.999, "", "{}"},
                    ReadCase{"2147483646.9", true, 2147483646, 2147483646.9, "", "{}"},
                    ReadCase{"2147483648.0", true, smallest, 2147483648.0, "", "{}"},
                    ReadCase{"-2147483648.9", true, smallest, -2147483648.9, "", "{}"},
                    ReadCase{"-1e300", true, smallest, -1e300, "", "{}"},
                    // Integers keep their low 32 bits.
                    ReadCase{"2147483648", true, smallest, 2147483648.0, "", "{}"},
                    ReadCase{"4294967301", true, 5, 4294967301.0, "", "{}"},
                    ReadCase{"-4294967301", true, -5, -4294967301.0, "", "{}"},
                    ReadCase{"18446744073709551615", true, -1, 18446744073709551615.0, "", "{}"},
                    ReadCase{"18446744073709551616", true, smallest, 18446744073709551616.0, "", "{}"}));

TEST(KeyedAccess, ComparesWholeKeys) {
  const std::string withZero("a\0b", 3);
  MORVADataTypeJSON document = parsed(R"({"a":1,"ab":2})");
  EXPECT_EQ(getText(document, withZero), "");
  setText(document, withZero, std::string("x\0y", 3));
  EXPECT_EQ(getText(document, withZero), std::string("x\0y", 3));
  EXPECT_EQ(document.toString(), R"({"a":1,"ab":2,"a\u0000b":"x\u0000y"})");
  EXPECT_EQ(errorTextOf([&] { getInteger(document, withZero + "c"); }),
            std::string("Value not found with id: a\0bc\n", 30));
}

TEST(KeyedAccess, NumbersKeepTheirPlaceTextsAndDocumentsMoveToTheEnd) {
  MORVADataTypeJSON document = parsed(R"({"a":"old","b":0,"c":[],"a":"doubled"})");
  EXPECT_TRUE(setInteger(document, "b", -5));
  EXPECT_TRUE(setDouble(document, "c", 0.5));
  EXPECT_TRUE(setText(document, "a", "new"));
  EXPECT_EQ(document.toString(), R"({"b":-5,"c":0.5,"a":"new"})");
  EXPECT_TRUE(setBoolean(document, "a", false));
  EXPECT_TRUE(setDocument(document, "b", parsed(R"({"x":["y"]})")));
  EXPECT_TRUE(setInteger(document, "d", 1));
  EXPECT_EQ(document.toString(), R"({"c":0.5,"a":false,"b":{"x":["y"]},"d":1})");
}

TEST(KeyedAccess, SettersNeedAnObjectRoot) {
  for (const char* root : {"[1]", R"("text")", "7", "null"}) {
    MORVADataTypeJSON document = parsed(root);
    EXPECT_FALSE(setInteger(document, "a", 1) || setDouble(document, "a", 1) || setBoolean(document, "a", true) ||
                 setText(document, "a", "b") || setDocument(document, "a", MORVADataTypeJSON()));
    EXPECT_EQ(document.toString(), root);
    EXPECT_EQ(getText(document, "a"), "");
  }
}

TEST(KeyedAccess, DocumentsCanBeAddedToThemselves) {
  MORVADataTypeJSON document = parsed(R"({"a":1})");
  EXPECT_TRUE(setDocument(document, "b", document));
  EXPECT_TRUE(setDocument(document, "b", document));
  EXPECT_EQ(document.toString(), R"({"a":1,"b":{"a":1,"b":{"a":1}}})");
  EXPECT_TRUE(setDocument(document, "b", parsed("3")));
  EXPECT_EQ(document.toString(), R"({"a":1,"b":{}})");
}

TEST(KeyedAccess, AppendsObjectsAndArraysToArraysAlone) {
  MORVADataTypeJSON array(JSONType::Array);
  EXPECT_TRUE(appendDocument(array, parsed(R"({"a":"b"})")));
  EXPECT_TRUE(appendDocument(array, array));
  EXPECT_FALSE(appendDocument(array, parsed("1")));
  EXPECT_EQ(array.toString(), R"([{"a":"b"},[{"a":"b"}]])");
  MORVADataTypeJSON object = parsed(R"({"a":1})");
  EXPECT_FALSE(appendDocument(object, array));
  EXPECT_EQ(object.toString(), R"({"a":1})");
}

}  // namespace
