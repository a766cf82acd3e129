#include <gmock/gmock.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/json/Parsed.h"

namespace BX::test {
namespace {

const std::string zeros(700, '0');

TEST(Document, KeepsTextAndOrder) {
  EXPECT_EQ(Json().toString(), "{}");
  EXPECT_EQ(Json(MORVA::JSONType::Array).toString(), "[]");
  for (const std::string text : {R"({"z":[1,-2,2147483648,1.5,true,false,null,{}],"a":"\u0001\u0000x\"","z2":{"":[]}})",
                                 R"({"0e300":"-0e300 \"0e300"})", "[18446744073709551615,-9223372036854775808]"}) {
    EXPECT_EQ(parsed(text).toString(), text);
  }
}

TEST(Document, StaysAsItWasWhenParsingFails) {
  Json document = parsed(R"({"a":1})");
  for (const auto& text : {std::string("{}\0", 3), std::string("[\"\0\"]", 5), "1" + zeros}) {
    EXPECT_FALSE(document.parseString(text)) << text;
  }
  for (const auto* text : {"", " ", "{", "nul", "{} x", "[1,]", R"({"a":1,})", R"(["\ud800"])", "NaN", "1e5e5",
                           "0e300.3", "00e300", "0.e300", "0e", "-", "--0e300", "0e300 0", "\"0e300", "1e400", "10e308",
                           // RapidJSON alone takes these.
                           R"("\udc00")", R"("\ud83d\ude00\ude00")", "\xEF\xBB{}", "\xEF{}"}) {
    EXPECT_FALSE(document.parseString(text)) << text;
  }
  EXPECT_EQ(document.toString(), R"({"a":1})");
}

TEST(Document, ReadsEveryDoubleBackAsWritten) {
  std::mt19937_64 random(1);
  for (int i = 0; i < 20000; ++i) {
    const auto bits = random();
    const auto number = std::bit_cast<double>(bits);
    if (!std::isfinite(number)) continue;
    Json document;
    document.getDocument().SetDouble(number);
    const auto read = parsed(document.toString());
    ASSERT_EQ(std::bit_cast<std::uint64_t>(read.getDocument().GetDouble()), bits) << document.toString();
  }
}

// RapidJSON alone reads most of these as some other number.
TEST(Document, ReadsANumberHoweverItIsSpelled) {
  const std::pair<std::string, const char*> table[] = {
      {"0E+300,0e99999999999,-0e-300,1e-400,-0", "0.0,0.0,-0.0,0.0,0"},
      {"0." + zeros + ",0." + zeros + "e-25,0." + zeros.substr(0, 30) + "1", "0.0,0.0,1e-31"},
      {"184467440737095516155,1.84467440737095516159e300", "184467440737095500000.0,1.8446744073709552e300"},
      {"1" + zeros.substr(0, 300) + " ,4.9e-324,1.7976931348623157e308", "1e300,5e-324,1.7976931348623157e308"}};
  for (const auto& [given, read] : table)
    EXPECT_EQ(parsed("[" + given + "]").toString(), "[" + std::string(read) + "]");
}

TEST(Document, WritesWhatJsonHasNoNumberForAsNull) {
  using Limits = std::numeric_limits<double>;
  for (const double number : {Limits::infinity(), -Limits::infinity(), Limits::quiet_NaN()}) {
    Json document;
    document.getDocument().SetDouble(number);
    EXPECT_EQ(document.toString(), "null");
  }
}

TEST(Document, NestingTakesNoStack) {
  constexpr int depth = 50000;
  std::string text;
  for (int i = 0; i < depth; ++i) text += R"({"a":[)";
  for (int i = 0; i < depth; ++i) text += "]}";
  const Json document = parsed(text);
  const Json copy(document);
  EXPECT_TRUE(copy.toString() == text);
}

TEST(Document, CopiesAreIndependent) {
  Json copy;
  {
    Json original;
    std::string shortLived = "a text that is longer than what fits into a value";
    auto& root = original.getDocument();
    // Only referred to, not copied: the copy must own it all the same.
    root.AddMember("key", rapidjson::StringRef(shortLived.data(), shortLived.size()), root.GetAllocator());
    copy = original;
    shortLived.assign(shortLived.size(), '#');
    root["key"].SetInt(1);
  }
  const auto& self = copy;
  copy = self;
  EXPECT_EQ(copy.toString(), R"({"key":"a text that is longer than what fits into a value"})");
}

TEST(Document, OwnsWhatItCopies) {
  Json document = parsed(R"({"o":{"first":0},"a":[0]})");
  {
    const Json source = parsed(R"({"members":{"k":["deep"],"l":2},"elements":[{"m":"text"},3]})");
    const auto& root = source.getDocument();
    document.iterateAndSetValues(root["members"].GetObject(), document.getDocument()["o"]);
    document.iterateAndSetValues(root["elements"].GetArray(), document.getDocument()["a"]);
  }
  std::string text("a\0b and much more of it", 23);
  document.getDocument()["a"][0] = document.copyStringToValue(text);
  text.assign(text.size(), '#');
  EXPECT_EQ(document.toString(), R"({"o":{"first":0,"k":["deep"],"l":2},)"
                                 R"("a":["a\u0000b and much more of it",{"m":"text"},3]})");
}

TEST(Document, MovesWithoutCopying) {
  static_assert(std::is_nothrow_move_constructible_v<Json>);
  static_assert(std::is_nothrow_move_assignable_v<Json>);
  Json source = parsed(R"({"a":{"b":"c"}})");
  const void* value = &source.getDocument()["a"];
  Json moved(std::move(source));
  source = std::move(moved);
  EXPECT_EQ(&source.getDocument()["a"], value);
  moved = parsed("[1]");  // a moved-from document can be assigned to
  source.getDocument().AddMember("x", 1, source.getDocument().GetAllocator());
  EXPECT_EQ(source.toString() + moved.toString(), R"({"a":{"b":"c"},"x":1}[1])");
}

}  // namespace
}  // namespace BX::test
