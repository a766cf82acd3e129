// The device by its payloads: tables of requests and answers.
#include "simulator/DeviceModel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/Hex.h"

namespace BX::sim {
namespace {

using test::bytesOf;
using test::hexOf;

// A request without its sum byte, and the payloads of the answer.
struct Exchange {
  std::string request;
  std::vector<std::string> answer;
};

std::vector<std::string> ask(DeviceModel& model, const std::string& request) {
  Bytes bytes = bytesOf(request);
  bytes.push_back(wire::sumOf(bytes));
  std::vector<std::string> answer;
  for (const Bytes& payload : model.answer(bytes)) answer.push_back(hexOf(payload));
  return answer;
}

void talk(DeviceModel& model, const std::vector<Exchange>& exchanges) {
  for (const auto& [request, answer] : exchanges) EXPECT_EQ(ask(model, request), answer) << "request " << request;
}

void talk(const std::vector<Exchange>& exchanges, const Options& options = {}) {
  DeviceModel model(options);
  talk(model, exchanges);
}

const Exchange toTransfer{"6F06", {"596F"}};

std::string repeated(const char* byte, int count) {
  std::string text;
  for (int i = 0; i < count; ++i) text += byte;
  return text;
}

TEST(DeviceModel, AnswersRequestsThatEveryModeAllows) {
  talk({{"73", {"5973"}},
        {"70", {"5970"}},
        {"6F05", {"4E6F"}},
        {"6F00", {"4E6F"}},
        {"41", {"4E41"}},
        {"6F03", {"596F"}},
        {"73", {"5973"}},
        {"70", {"5970"}},
        {"6F07", {"4E6F"}},
        {"6F04", {"596F"}}});
}

TEST(DeviceModel, RefusesRequestsThatAreDamagedOrOfTheWrongLength) {
  const Options options;
  DeviceModel model(options);
  talk(model, {toTransfer});
  for (const auto& [request, answer] : {std::pair{"7374", "4E73"},
                                        {"73", "4E73"},
                                        {"6F040073", "4E6F"},
                                        {"62000062", "4E62"},
                                        {"620062", "4E62"},
                                        {"6C0000", "4E6C"},
                                        {"66", "4E66"}}) {
    EXPECT_EQ(model.answer(bytesOf(request)), std::vector<Bytes>{bytesOf(answer)}) << request;
  }
  EXPECT_EQ(model.answer({}), std::vector<Bytes>{bytesOf("4E")});
}

TEST(DeviceModel, TellsWhoItIs) {
  talk({{"6F02", {"596F"}},
        {"6300",
         {"596300"
          "53494D2D303030303031"}},
        {"6301",
         {"596301"
          "31322068203334352073686F7473"}},
        {"6302",
         {"596302"
          "42582D53494D"}},
        {"6303",
         {"596303"
          "56312E3030"}},
        {"6304",
         {"596304"
          "444154453A2032312E31312E3236"}},
        {"6305",
         {"596305"
          "54494D453A2031323A30303A3030"}},
        {"6306",
         {"596306"
          "30"}},
        {"6320",
         {"596320"
          "000001000200030004000500"}},
        {"6307", {"4E63"}}});
}

TEST(DeviceModel, RefusesWhatItsModeDoesNotAllow) {
  const std::string frame = repeated("00", 16);
  struct Case {
    std::string request;
    bool inTransfer;  // the accepted answer otherwise needs no mode but a stream's
  };
  const std::vector<Case> cases{{"6400" + frame, true}, {"6C0100" + frame, true}, {"660100" + frame, true},
                                {"620000", true},       {"6200FF", true},         {"6D0100", true},
                                {"670100", true},       {"6300", false},          {"6500", false}};
  for (const auto& [request, needsTransfer] : cases) {
    for (const int mode : {1, 2, 3, 4}) {
      const Options options;
      DeviceModel model(options);
      ask(model, "6F0" + std::to_string(mode));
      const bool refused = needsTransfer || mode == 1 || mode == 3;
      EXPECT_EQ(ask(model, request).front().starts_with("4E"), refused) << request << " in mode " << mode;
    }
  }
}

TEST(DeviceModel, KeepsParameterSetsAsWritten) {
  const std::string content = "0102030405060708090A0B0C0D0E0F10";
  const std::string closing = repeated("FF", 16);
  talk({{"6500",
         {"596500"
          "10000200000000000000000000000000"}},
        {"6501",
         {"596501"
          "1C21FFFF010A1E2D0A05050000000000"}},
        toTransfer,
        {"6400" + content, {"5964"}},
        {"6500", {"596500" + content}},
        {"6483" + closing, {"5964"}},
        {"6503", {"596503" + closing}},
        {"6404" + content, {"4E64"}},
        {"6400" + content + "11", {"4E64"}},
        {"6400" + content.substr(2), {"4E64"}},
        {"6504", {"4E65"}},
        {"6583", {"4E65"}}});
}

TEST(DeviceModel, GivesEveryParameterSetThatHostsAskFor) {
  const Options options;
  DeviceModel model(options);
  for (const std::string frame : {"00", "01", "02", "03", "08", "09", "10", "11", "12", "13", "B8"}) {
    const std::string answer = ask(model, "65" + frame).front();
    EXPECT_EQ(answer.substr(0, 6), "5965" + frame);
    EXPECT_EQ(answer.size(), 2 * (3 + 16)) << frame;
  }
}

TEST(DeviceModel, GivesRingTargetsBackWithoutTheGap) {
  talk({toTransfer,
        {"6D0700", {"4E6D"}},
        {"6C0700"
         "010200FA0234"
         "0A010A"
         "00"
         "AABB"
         "01020304",
         {"596C"}},
        {"6C0701"
         "1112131415161718191A1B1C1D1E1F20",
         {"596C"}},
        {"6C0702"
         "2122232425262728292A2B2C2D2E2F30",
         {"596C"}},
        {"6C0783"
         "4142434445464748494A4B"
         "000000000000",
         {"596C"}},
        {"6D0700",
         {"596D0700"
          "010200FA0234"
          "0A010A"
          "AABB"
          "01020304"}},
        {"6D0701",
         {"596D0701"
          "1112131415161718191A1B1C1D1E1F20"}},
        {"6D0702",
         {"596D0702"
          "2122232425262728292A2B2C2D2E2F30"}},
        {"6D0783",
         {"596D0783"
          "4142434445464748494A4B"
          "000000000000"}},
        {"6D0703", {"4E6D"}},
        {"6D0800", {"4E6D"}},
        {"6C0703" + repeated("00", 16), {"4E6C"}},
        {"6C0700" + repeated("00", 17), {"4E6C"}},
        {"6C0700" + repeated("00", 15), {"4E6C"}},
        // Beginning a target anew forgets its other frames.
        {"6C0700" + repeated("00", 16), {"596C"}},
        {"6D0701", {"4E6D"}}});
}

const std::string settings3 =
    "10"
    "01"
    "00FA"
    "000000000000"
    "0258"
    "00010002";
const std::string name3 =
    "414243"
    "00000000000000"
    "000000000000";

TEST(DeviceModel, GivesSilhouettesBackWithTheRequestEchoed) {
  const std::string row = "E4" + repeated("1B", 15);
  talk({toTransfer,
        {"670300", {"4E67"}},
        {"660300" + settings3, {"5966"}},
        {"660301" + name3, {"5966"}},
        {"664300" + row, {"5966"}},
        {"664301"
         "0102",
         {"5966"}},
        {"670300", {"59670300" + settings3}},
        {"670301", {"59670301" + name3}},
        {"674000", {"59674000" + row}},
        {"674080", {"59674080" + row}},
        {"674001",
         {"59674001"
          "0102"}},
        {"67403F", {"5967403F" + repeated("00", 16)}},
        {"670302", {"4E67"}},
        {"660302" + repeated("00", 16), {"4E66"}}});
}

TEST(DeviceModel, TakesTheLastRowByItsMark) {
  const Options options;
  DeviceModel model(options);
  talk(model, {toTransfer, {"660300" + settings3, {"5966"}}, {"660301" + name3, {"5966"}}});
  for (int row = 0; row < 63; ++row) {
    const Bytes index{static_cast<std::uint8_t>(row)};
    talk(model, {{"6643" + hexOf(index) + hexOf(index), {"5966"}}});
  }
  talk(model, {{"6643BF"
                "EE",
                {"5966"}},
               {"670300", {"59670300" + settings3}},
               {"67403E",
                {"5967403E"
                 "3E"}},
               {"67403F",
                {"5967403F"
                 "EE"}},
               {"6740BF",
                {"596740BF"
                 "EE"}}});
}

TEST(DeviceModel, TellsTheRowsOfOneSlotFromTheFramesOfAnother) {
  const std::string other = repeated("22", 16);
  const std::string otherName = repeated("33", 16);
  talk({toTransfer,
        {"660300" + settings3, {"5966"}},
        {"660301" + name3, {"5966"}},
        {"664300"
         "01",
         {"5966"}},                    // row 0 of slot 3
        {"664300" + other, {"5966"}},  // settings of slot 0x43: row 1 would have been next
        {"664301" + otherName, {"5966"}},
        {"668300"
         "02",
         {"5966"}},  // row 0 of slot 0x43
        {"670300", {"59670300" + settings3}},
        {"674000",
         {"59674000"
          "01"}},
        {"674300", {"59674300" + other}},
        {"674301", {"59674301" + otherName}},
        {"674000",
         {"59674000"
          "02"}}});
  // A mode change ends the upload: what comes next is no row.
  talk({toTransfer,
        {"660301" + name3, {"5966"}},
        toTransfer,
        {"664300" + other, {"5966"}},
        {"674300", {"59674300" + other}}});
}

TEST(DeviceModel, GivesSlot40BackAlthoughRowsAreAskedForUnderItsNumber) {
  const std::string settings40 = repeated("22", 16);
  const Options options;
  DeviceModel model(options);
  talk(model, {toTransfer,
               {"660300" + settings3, {"5966"}},
               {"664000" + settings40, {"5966"}},
               {"664001" + name3, {"5966"}},
               {"668000"
                "02",
                {"5966"}},
               {"674000", {"59674000" + settings40}},
               {"674001", {"59674001" + name3}},
               {"674000",
                {"59674000"
                 "02"}},
               {"674001", {"59674001" + repeated("00", 16)}},
               // After the last row of another slot.
               {"670300", {"59670300" + settings3}},
               {"670301", {"4E67"}},
               {"67403F", {"5967403F" + repeated("00", 16)}},
               {"674000", {"59674000" + settings40}},
               {"674001", {"59674001" + name3}},
               {"674000",
                {"59674000"
                 "02"}}});
}

TEST(DeviceModel, HoldsATargetOfEachKindForEveryNumber) {
  const Options options;
  DeviceModel model(options);
  talk(model, {toTransfer});
  for (int number = 0; number < 256; ++number) {
    const std::string hex = hexOf(Bytes{static_cast<std::uint8_t>(number)});
    talk(model, {{"6C" + hex + "00" + repeated(hex.c_str(), 16), {"596C"}},
                 {"66" + hex + "00" + repeated(hex.c_str(), 16), {"5966"}}});
  }
  for (int number = 0; number < 256; ++number) {
    const std::string hex = hexOf(Bytes{static_cast<std::uint8_t>(number)});
    talk(model, {toTransfer,
                 {"6D" + hex + "00", {"596D" + hex + "00" + repeated(hex.c_str(), 15)}},
                 {"67" + hex + "00", {"5967" + hex + "00" + repeated(hex.c_str(), 16)}}});
  }
}

TEST(DeviceModel, GivesStoredPagesAsTheyWereWritten) {
  Options options;
  options.stored = {{0, 1, bytesOf("CA6A01")}, {0, 1, bytesOf("CA6502")}, {5, 254, bytesOf("99")}};
  talk({{"6320",
         {"596320"
          "0002"
          "0100"
          "0200"
          "0300"
          "0400"
          "05FF"}},
        toTransfer,
        {"620000", {"5962"}},
        {"620001", {"CA6A01", "CA6502", "5962"}},
        {"620002", {"4E62"}},
        {"620100", {"4E62"}},
        {"6205FE", {"99", "5962"}},
        {"620600", {"4E62"}},
        {"6200FF", {"5962"}},
        {"620001", {"4E62"}},
        {"6206FF", {"5962"}},
        {"6207FF", {"4E62"}},
        {"6320",
         {"596320"
          "0000"
          "0100"
          "0200"
          "0300"
          "0400"
          "05FF"}}},
       options);
}

TEST(DeviceModel, GivesScriptedRepliesInPlaceOfItsOwn) {
  Options options;
  options.script = {{bytesOf("63"), {}},
                    {bytesOf("6300"), bytesOf("59630041")},
                    {bytesOf("6501"), bytesOf("5964")},
                    {bytesOf("6F03"), bytesOf("596F")}};
  DeviceModel model(options);
  talk(model, {{"6300", {"59630041"}},
               {"6302", {"4E63"}},
               {"6501", {"5964"}},
               {"6502", ask(model, "6502")},
               {"6F03", {"596F"}}});
  EXPECT_FALSE(model.hasStreamed()) << "a scripted reply changes nothing in the device";
}

// ---- The stream.

std::vector<std::string> streamOf(DeviceModel& model, std::size_t limit) {
  std::vector<std::string> payloads;
  while (model.hasStreamed() && payloads.size() < limit) payloads.push_back(hexOf(model.nextStreamed()));
  return payloads;
}

TEST(DeviceModel, StreamsItsFileFromTheFirstLineAtEachStart) {
  Options options;
  options.stream = {bytesOf("CA6A01"), bytesOf("CA6502"), bytesOf("0102")};
  DeviceModel model(options);
  EXPECT_FALSE(model.hasStreamed());
  const std::vector<std::string> all{"CA6A01", "CA6502", "0102"};
  talk(model, {{"6F03", {"596F"}}});
  EXPECT_EQ(streamOf(model, 2), std::vector(all.begin(), all.begin() + 2));
  talk(model, {{"6F01", {"596F"}}});
  EXPECT_EQ(streamOf(model, 9), all);
  talk(model, {{"6300", {"4E63"}}, {"6F05", {"4E6F"}}, {"6F03", {"596F"}}});
  EXPECT_EQ(streamOf(model, 1).size(), 1U);
  model.rest();
  EXPECT_FALSE(model.hasStreamed());
  talk(model, {{"6500", ask(model, "6500")}, {"6300", ask(model, "6300")}});
}

TEST(DeviceModel, EndsTheStreamByItselfWithALoneAcceptance) {
  Options options;
  options.stream = {bytesOf("CA65"), bytesOf("59"), bytesOf("CA6A")};
  DeviceModel model(options);
  talk(model, {{"6F03", {"596F"}}});
  EXPECT_EQ(streamOf(model, 9), (std::vector<std::string>{"CA65", "59"}));
  EXPECT_TRUE(ask(model, "6300").front().starts_with("59"));
}

TEST(DeviceModel, StoresTheRecordsOfTheLastSession) {
  Options options;
  options.stored = {{3, 0, bytesOf("CA6A")}};
  options.stream.emplace();
  for (std::uint8_t i = 0; i < 14; ++i) options.stream->push_back({0xCA, 0x65, i});
  options.stream->push_back(bytesOf("CA70"));
  DeviceModel model(options);
  talk(model, {{"6F03", {"596F"}}});
  streamOf(model, 99);
  talk(model, {toTransfer,
               {"6320",
                {"596320"
                 "0002"
                 "0100"
                 "0200"
                 "0300"
                 "0400"
                 "0500"}},
               {"620001", {"CA650D", "5962"}}});
  EXPECT_EQ(ask(model, "620000").size(), 13U + 1);
  talk(model, {{"6F01", {"596F"}},
               {"6F04", {"596F"}},
               {"6320",
                {"596320"
                 "0000"
                 "0100"
                 "0200"
                 "0300"
                 "0400"
                 "0500"}}});
}

TEST(DeviceModel, StoresNoMoreThanItsMemoryHolds) {
  Options options;
  options.stream.emplace(6 * 255 * 13 + 1, bytesOf("CA65"));
  DeviceModel model(options);
  talk(model, {{"6F03", {"596F"}}});
  streamOf(model, options.stream->size());
  talk(model, {toTransfer,
               {"6320",
                {"596320"
                 "00FF"
                 "01FF"
                 "02FF"
                 "03FF"
                 "04FF"
                 "05FF"}}});
  EXPECT_EQ(ask(model, "6205FE").size(), 13U + 1);
}

TEST(DeviceModel, NamesTheTargetsInUseInEachShot) {
  const Options options;
  DeviceModel model(options);
  talk(model, {toTransfer,
               {"660900"
                "10"
                "01"
                "01F4" +
                    repeated("00", 12),
                {"5966"}},  // 50 yards
               {"6401"
                "0000"
                "0709" +
                    repeated("00", 12),
                {"5964"}},
               {"6402"
                "0000"
                "FF09" +
                    repeated("00", 12),
                {"5964"}},
               {"6F03", {"596F"}}});
  const auto payloads = streamOf(model, 100);
  const auto shot =
      std::find_if(payloads.begin(), payloads.end(), [](const auto& one) { return one.starts_with("CA6A"); });
  ASSERT_NE(shot, payloads.end());
  EXPECT_EQ(shot->substr(2 * 14, 6), "FF0903");
  EXPECT_EQ(shot->substr(2 * 28), "01C9");  // 45.7 m
}

}  // namespace
}  // namespace BX::sim
