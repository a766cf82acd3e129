#include "morva/KeyedAccess.h"

#include <gmock/gmock.h>

#include <limits>
#include <tuple>

#include "tests/json/Parsed.h"

namespace BX::test {
namespace {

using namespace MORVA;

TEST(KeyedAccess, ReadsTheValueOrTheMissingKeyResult) {
  constexpr auto smallest = std::numeric_limits<std::int32_t>::min();
  const std::tuple<const char*, bool, std::int32_t, double> table[] = {
      {"true", true, 1, missingDouble},
      {"false", false, 0, missingDouble},
      {"null", true, missingInteger, missingDouble},
      {R"("0")", true, missingInteger, missingDouble},
      {"0", false, 0, 0.0},
      {"-0.0", false, 0, -0.0},
      {"-2.999", true, -2, -2.999},
      {"2147483646.9", true, 2147483646, 2147483646.9},
      {"2147483648.0", true, smallest, 2147483648.0},
      {"-2147483648.9", true, smallest, -2147483648.9},
      // Integers keep their low 32 bits.
      {"2147483648", true, smallest, 2147483648.0},
      {"-4294967301", true, -5, -4294967301.0},
      {"18446744073709551615", true, -1, 18446744073709551615.0},
      {"18446744073709551616", true, smallest, 18446744073709551616.0}};
  for (const auto& [value, boolean, integer, number] : table) {
    const auto document = parsed(R"({"k":)" + std::string(value) + "}");
    EXPECT_EQ(getBoolean(document, "k"), boolean) << value;
    EXPECT_EQ(getInteger(document, "k"), integer) << value;
    EXPECT_EQ(getDouble(document, "k"), number) << value;
  }
}

TEST(KeyedAccess, TellsOfAMissingKeyUnlessItIsATextOrADocument) {
  const std::string withZero("a\0b", 3);
  const auto document = parsed(R"({"a":[{"a":1},2],"a\u0000b":"x\u0000y","o":{"a":[1]}})");
  testing::internal::CaptureStderr();
  EXPECT_TRUE(getBoolean(document, "boolean"));
  EXPECT_EQ(getInteger(document, "integer"), missingInteger);
  EXPECT_EQ(getDouble(document, "a"), missingDouble);
  EXPECT_EQ(getText(document, "a") + getText(document, "none"), "");
  EXPECT_EQ(getText(document, withZero), std::string("x\0y", 3));
  EXPECT_EQ(getDocument(document, withZero).toString(), "{}");
  EXPECT_EQ(getDocument(document, "o").toString(), R"({"a":[1]})");
  EXPECT_EQ(getDocument(document, "a").toString(), R"([{"a":1},2])");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Value not found with id: boolean\nValue not found with id: integer\nValue not found with id: a\n");
}

TEST(KeyedAccess, NumbersKeepTheirPlaceTextsAndDocumentsMoveToTheEnd) {
  Json document = parsed(R"({"a":"old","b":0,"c":[],"a":"doubled"})");
  EXPECT_TRUE(setInteger(document, "b", -5));
  EXPECT_TRUE(setDouble(document, "c", 0.5));
  EXPECT_TRUE(setText(document, "a", std::string("n\0w", 3)));
  EXPECT_EQ(document.toString(), R"({"b":-5,"c":0.5,"a":"n\u0000w"})");
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
