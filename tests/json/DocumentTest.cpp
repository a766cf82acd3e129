#include <gmock/gmock.h>

#include <cmath>
#include <cstring>
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
  const std::string text = R"({"z":[1,-2,2147483648,1.5,true,false,null,{}],"a":"\u0001\u0000x\"","z2":{"":[]}})";
  EXPECT_EQ(parsed(text).toString(), text);
}

TEST(Document, StaysAsItWasWhenParsingFails) {
  Json document = parsed(R"({"a":1})");
  const auto refuses = [&](const std::string& text) {
    return !document.parseString(text) && document.toString() == R"({"a":1})";
  };
  for (const auto* text :
       {"",        " ",      "{",      "nul", "{} x", "[1,]",    R"({"a":1,})", R"(["\ud800"])", "NaN",   "1e5e5",
        "0e300.3", "00e300", "0.e300", "0e",  "-",    "--0e300", "0e300 0",     "\"0e300",       "1e400", "10e308"}) {
    EXPECT_TRUE(refuses(text)) << text;
  }
  EXPECT_TRUE(refuses(std::string("{}\0", 3)));
  EXPECT_TRUE(refuses(std::string("[\"\0\"]", 5)));
  EXPECT_TRUE(refuses("1" + zeros));
  // RapidJSON alone takes these.
  for (const auto* text : {R"("\udc00")", R"("\ud83d\ude00\ude00")", "\xEF\xBB{}", "\xEF{}"})
    EXPECT_TRUE(refuses(text));
}

TEST(Document, ReadsEveryDoubleBackAsWritten) {
  std::mt19937_64 random(1);
  for (int i = 0; i < 20000; ++i) {
    const std::uint64_t bits = random();
    double number = 0;
    std::memcpy(&number, &bits, sizeof number);
    if (!std::isfinite(number)) continue;
    Json document;
    document.getDocument().SetDouble(number);
    const double back = parsed(document.toString()).getDocument().GetDouble();
    ASSERT_EQ(std::memcmp(&number, &back, sizeof number), 0) << document.toString();
  }
}

// RapidJSON alone reads most of these as some other number.
TEST(Document, ReadsANumberHoweverItIsSpelled) {
  EXPECT_EQ(parsed("[0E+300,0e99999999999,-0e-300,0." + zeros + ",0." + zeros + "e-25,1e-400]").toString(),
            "[0.0,0.0,-0.0,0.0,0.0,0.0]");
  EXPECT_EQ(parsed("[184467440737095516155,1.84467440737095516159e300,-184467440737095516155e-400]").toString(),
            "[184467440737095500000.0,1.8446744073709552e300,-0.0]");
  EXPECT_EQ(parsed("[-0,18446744073709551615,-9223372036854775808]").toString(),
            "[0,18446744073709551615,-9223372036854775808]");
  EXPECT_EQ(parsed("[1" + zeros.substr(0, 300) + " ,0." + zeros.substr(0, 30) + "1,4.9e-324,1.7976931348623157e308]")
                .toString(),
            "[1e300,1e-31,5e-324,1.7976931348623157e308]");
  const std::string text = R"({"0e300":"-0e300 \"0e300"})";
  EXPECT_EQ(parsed(text).toString(), text);
}

TEST(Document, WritesWhatJsonHasNoNumberForAsNull) {
  Json document(MORVA::JSONType::Array);
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
  EXPECT_EQ(source.toString(), R"({"a":{"b":"c"},"x":1})");
  EXPECT_EQ(moved.toString(), "[1]");
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

}  // namespace
}  // namespace BX::test
