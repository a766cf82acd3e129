#include "morva/KeyedAccess.h"

#include <gmock/gmock.h>

#include <functional>

#include "tests/json/Parsed.h"

namespace BX::test {
namespace {

using namespace MORVA;

std::string errorTextOf(const std::function<void()>& action) {
  testing::internal::CaptureStderr();
  action();
  return testing::internal::GetCapturedStderr();
}

TEST(Reading, GivesTheValueOrTheMissingKeyResult) {
  constexpr auto smallest = std::numeric_limits<std::int32_t>::min();
  const struct {
    const char* document;
    bool boolean;
    std::int32_t integer;
    double number;
  } table[] = {{R"({"j":0})", true, missingInteger, missingDouble},
               {R"({"k":true})", true, 1, missingDouble},
               {R"({"k":false})", false, 0, missingDouble},
               {R"({"k":null})", true, missingInteger, missingDouble},
               {R"({"k":"0"})", true, missingInteger, missingDouble},
               {R"({"k":[0]})", true, missingInteger, missingDouble},
               {R"({"k":0})", false, 0, 0.0},
               {R"({"k":-0.0})", false, 0, -0.0},
               {R"({"k":0.25})", true, 0, 0.25},
               {R"({"k":-2.999})", true, -2, -2.999},
               {R"({"k":2147483646.9})", true, 2147483646, 2147483646.9},
               {R"({"k":2147483648.0})", true, smallest, 2147483648.0},
               {R"({"k":-2147483648.9})", true, smallest, -2147483648.9},
               {R"({"k":-1e300})", true, smallest, -1e300},
               // Integers keep their low 32 bits.
               {R"({"k":2147483648})", true, smallest, 2147483648.0},
               {R"({"k":-4294967301})", true, -5, -4294967301.0},
               {R"({"k":18446744073709551615})", true, -1, 18446744073709551615.0},
               {R"({"k":18446744073709551616})", true, smallest, 18446744073709551616.0}};
  const std::string notFound = "Value not found with id: k\n";
  for (const auto& expected : table) {
    SCOPED_TRACE(expected.document);
    const auto document = parsed(expected.document);
    EXPECT_EQ(getBoolean(document, "k"), expected.boolean);
    EXPECT_EQ(errorTextOf([&] { EXPECT_EQ(getInteger(document, "k"), expected.integer); }),
              expected.integer == missingInteger ? notFound : "");
    EXPECT_EQ(errorTextOf([&] { EXPECT_EQ(getDouble(document, "k"), expected.number); }),
              expected.number == missingDouble ? notFound : "");
  }
}

TEST(Reading, TellsOfAMissingKeyUnlessItIsATextOrADocument) {
  const auto document = parsed(R"({"number":1,"text":"x","object":{"a":[1]},"array":[{"a":1},2]})");
  EXPECT_EQ(getDocument(document, "object").toString(), R"({"a":[1]})");
  EXPECT_EQ(getDocument(document, "array").toString(), R"([{"a":1},2])");
  EXPECT_EQ(errorTextOf([&] { getBoolean(document, "none"); }), "Value not found with id: none\n");
  for (const auto* none : {"number", "none"}) {
    EXPECT_EQ(errorTextOf([&] { EXPECT_EQ(getText(document, none), ""); }), "");
    EXPECT_EQ(errorTextOf([&] { EXPECT_EQ(getDocument(document, none).toString(), "{}"); }), "");
  }
}

TEST(KeyedAccess, ComparesWholeKeys) {
  const std::string withZero("a\0b", 3);
  Json document = parsed(R"({"a":1,"ab":2})");
  EXPECT_EQ(getText(document, withZero), "");
  setText(document, withZero, std::string("x\0y", 3));
  EXPECT_EQ(getText(document, withZero), std::string("x\0y", 3));
  EXPECT_EQ(document.toString(), R"({"a":1,"ab":2,"a\u0000b":"x\u0000y"})");
}

TEST(KeyedAccess, NumbersKeepTheirPlaceTextsAndDocumentsMoveToTheEnd) {
  Json document = parsed(R"({"a":"old","b":0,"c":[],"a":"doubled"})");
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
    Json document = parsed(root);
    EXPECT_FALSE(setInteger(document, "a", 1) || setDouble(document, "a", 1) || setBoolean(document, "a", true) ||
                 setText(document, "a", "b") || setDocument(document, "a", Json()));
    EXPECT_EQ(document.toString(), root);
  }
}

TEST(KeyedAccess, DocumentsCanBeAddedToThemselves) {
  Json document = parsed(R"({"a":1})");
  EXPECT_TRUE(setDocument(document, "b", document));
  EXPECT_TRUE(setDocument(document, "b", document));
  EXPECT_EQ(document.toString(), R"({"a":1,"b":{"a":1,"b":{"a":1}}})");
  EXPECT_TRUE(setDocument(document, "b", parsed("3")));
  EXPECT_EQ(document.toString(), R"({"a":1,"b":{}})");
}

TEST(KeyedAccess, AppendsObjectsAndArraysToArraysAlone) {
  Json array(JSONType::Array);
  EXPECT_TRUE(appendDocument(array, parsed(R"({"a":"b"})")));
  EXPECT_TRUE(appendDocument(array, array));
  EXPECT_FALSE(appendDocument(array, parsed("1")));
  EXPECT_EQ(array.toString(), R"([{"a":"b"},[{"a":"b"}]])");
  Json object = parsed(R"({"a":1})");
  EXPECT_FALSE(appendDocument(object, array));
  EXPECT_EQ(object.toString(), R"({"a":1})");
}

}  // namespace
}  // namespace BX::test
