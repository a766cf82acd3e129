#include <gmock/gmock.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <type_traits>
#include <utility>
#include <vector>

#include "morva/MORVADataTypeJSON.h"

namespace {

using MORVA::JSONType;
using MORVA::MORVADataTypeJSON;

MORVADataTypeJSON parsed(const std::string& text) {
  MORVADataTypeJSON document;
  EXPECT_TRUE(document.parseString(text)) << text;
  return document;
}

TEST(Document, StartsEmpty) {
  EXPECT_EQ(MORVADataTypeJSON().toString(), "{}");
  EXPECT_EQ(MORVADataTypeJSON(JSONType::Object).toString(), "{}");
  EXPECT_EQ(MORVADataTypeJSON(JSONType::Array).toString(), "[]");
}

TEST(Document, KeepsTextAndOrder) {
  const std::string text = R"({"z":[1,-2,2147483648,1.5,true,false,null,{}],"a":"\u0001\u0000x\"","z2":{"":[]}})";
  EXPECT_EQ(parsed(text).toString(), text);
}

TEST(Document, StaysAsItWasWhenParsingFails) {
  MORVADataTypeJSON document = parsed(R"({"a":1})");
  const std::string zero(1, '\0');
  for (const std::string& text :
       std::vector<std::string>{"", " ", "{", "nul", "{} x", "[1,]", R"({"a":1,})", "NaN", "1e400", "{}" + zero,
                                "[\"" + zero + "\"]", R"(["\ud800"])"}) {
    EXPECT_FALSE(document.parseString(text)) << text;
    EXPECT_EQ(document.toString(), R"({"a":1})") << text;
  }
}

TEST(Document, ReadsEveryDoubleBackAsWritten) {
  std::mt19937_64 random(1);
  for (int i = 0; i < 20000; ++i) {
    const std::uint64_t bits = random();
    double number = 0;
    std::memcpy(&number, &bits, sizeof number);
    if (!std::isfinite(number)) continue;
    MORVADataTypeJSON document;
    document.getDocument().SetDouble(number);
    const double back = parsed(document.toString()).getDocument().GetDouble();
    ASSERT_EQ(std::memcmp(&number, &back, sizeof number), 0) << document.toString();
  }
}

// RapidJSON alone reads most of these as some other number.
TEST(Document, ReadsANumberHoweverItIsSpelled) {
  const std::string zeros(700, '0');
  const std::vector<std::pair<std::string, std::string>> table = {
      {"0e1", "0.0"},
      {"0E+300", "0.0"},
      {"0e99999999999", "0.0"},
      {"-0e-300", "-0.0"},
      {"0." + zeros, "0.0"},
      {"0." + zeros + "e-25", "0.0"},
      {"0." + zeros.substr(0, 30) + "1", "1e-31"},
      {"-0", "0"},
      {"184467440737095516155", "184467440737095500000.0"},
      {"1.84467440737095516159e300", "1.8446744073709552e300"},
      {"-184467440737095516155e-400", "-0.0"},
      {"18446744073709551615", "18446744073709551615"},
      {"-9223372036854775808", "-9223372036854775808"},
      {"1" + zeros.substr(0, 300), "1e300"},
      {"1.7976931348623157e308", "1.7976931348623157e308"},
      {"4.9e-324", "5e-324"},
      {"1e-400", "0.0"},
      {"100e-2", "1.0"}};
  for (const auto& [spelling, number] : table) {
    EXPECT_EQ(parsed("[" + spelling + " ]").toString(), "[" + number + "]") << spelling;
  }
  const std::string text = R"({"0e300":"-0e300 \"0e300"})";
  EXPECT_EQ(parsed(text).toString(), text);
  MORVADataTypeJSON document;
  for (const std::string& wrong : std::vector<std::string>{"0e300.3", "1e5e5", "00e300", "0.e300", "0e", "-", "--0e300",
                                                           "0e300 0", "\"0e300", "1e400", "10e308", "1" + zeros}) {
    EXPECT_FALSE(document.parseString(wrong)) << wrong;
  }
}

TEST(Document, WritesWhatJsonHasNoNumberForAsNull) {
  MORVADataTypeJSON document(JSONType::Array);
  auto& root = document.getDocument();
  using Limits = std::numeric_limits<double>;
  for (const double number : {Limits::infinity(), -Limits::infinity(), Limits::quiet_NaN(), 0.5}) {
    root.PushBack(number, root.GetAllocator());
  }
  EXPECT_EQ(document.toString(), "[null,null,null,0.5]");
}

TEST(Document, NestingTakesNoStack) {
  constexpr int depth = 50000;
  std::string text;
  for (int i = 0; i < depth; ++i) text += R"({"a":[)";
  for (int i = 0; i < depth; ++i) text += "]}";
  const MORVADataTypeJSON document = parsed(text);
  const MORVADataTypeJSON copy(document);
  EXPECT_TRUE(copy.toString() == text);
}

TEST(Document, CopiesAreIndependent) {
  MORVADataTypeJSON copy;
  {
    MORVADataTypeJSON original;
    std::string shortLived = "a text that is longer than what fits into a value";
    auto& root = original.getDocument();
    // Only referred to, not copied: the copy must own it all the same.
    root.AddMember("key", rapidjson::StringRef(shortLived.data(), shortLived.size()), root.GetAllocator());
    copy = original;
    shortLived.assign(shortLived.size(), '#');
    root["key"].SetInt(1);
  }
  EXPECT_EQ(copy.toString(), R"({"key":"a text that is longer than what fits into a value"})");
  const auto& self = copy;
  copy = self;
  EXPECT_EQ(copy.toString(), R"({"key":"a text that is longer than what fits into a value"})");
}

TEST(Document, MovesWithoutCopying) {
  static_assert(std::is_nothrow_move_constructible_v<MORVADataTypeJSON>);
  static_assert(std::is_nothrow_move_assignable_v<MORVADataTypeJSON>);
  MORVADataTypeJSON source = parsed(R"({"a":{"b":"c"}})");
  const void* value = &source.getDocument()["a"];
  MORVADataTypeJSON moved(std::move(source));
  source = std::move(moved);
  EXPECT_EQ(&source.getDocument()["a"], value);
  moved = parsed("[1]");  // a moved-from document can be assigned to
  source.getDocument().AddMember("x", 1, source.getDocument().GetAllocator());
  EXPECT_EQ(source.toString(), R"({"a":{"b":"c"},"x":1})");
  EXPECT_EQ(moved.toString(), "[1]");
}

TEST(Document, AddsCopiesOfMembersAndElements) {
  MORVADataTypeJSON document = parsed(R"({"o":{"first":0},"a":[0]})");
  {
    const MORVADataTypeJSON source = parsed(R"({"members":{"k":["deep"],"l":2},"elements":[{"m":"text"},3]})");
    const auto& root = source.getDocument();
    document.iterateAndSetValues(root["members"].GetObject(), document.getDocument()["o"]);
    document.iterateAndSetValues(root["elements"].GetArray(), document.getDocument()["a"]);
  }
  EXPECT_EQ(document.toString(), R"({"o":{"first":0,"k":["deep"],"l":2},"a":[0,{"m":"text"},3]})");
}

TEST(Document, OwnsCopiedStrings) {
  MORVADataTypeJSON document;
  std::string text("a\0b", 3);
  auto& root = document.getDocument();
  rapidjson::Value key = document.copyStringToValue(text + " and much more of it");
  rapidjson::Value value = document.copyStringToValue(text);
  text = "#####################";
  root.AddMember(key, value, root.GetAllocator());
  EXPECT_EQ(document.toString(), R"({"a\u0000b and much more of it":"a\u0000b"})");
}

}  // namespace
