#include "morva/KeyedAccess.h"

#include <gmock/gmock.h>

#include "tests/json/Parsed.h"
#include "tests/support/Table.h"

namespace BX::test {
namespace {

using namespace MORVA;

TEST(KeyedAccess, ReadsTheValueOrTheMissingKeyResult) {
  for (const auto& row : rowsOf(textIn(BX_SOURCE_DIR "/tests/json/values.txt"))) {
    const auto document = parsed(R"({"k":)" + row[0] + "}");
    EXPECT_EQ(getBoolean(document, "k"), row[1] == "true") << row[0];
    EXPECT_EQ(getInteger(document, "k"), std::stoi(row[2])) << row[0];
    EXPECT_EQ(getDouble(document, "k"), std::stod(row[3])) << row[0];
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
