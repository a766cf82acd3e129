// The device by its payloads: modes, settings, memory and stream.
#include "simulator/DeviceModel.h"

#include <gmock/gmock.h>

#include "tests/simulator/ModelUnderTest.h"

namespace BX::sim {
namespace {

using test::bytesOf;
using testing::AllOf;
using testing::ElementsAre;
using testing::SizeIs;
using testing::StartsWith;

TEST(DeviceModel, AnswersEachLetter) {
  ModelUnderTest().talk(R"(
      73   > 5973
      6F05 > 4E6F
      6F00 > 4E6F
      41   > 4E41
      6300 > 596300 53494D2D303030303031
      6304 > 596304 444154453A2032312E31312E3236
      6320 > 596320 0000 0100 0200 0300 0400 0500
      6307 > 4E63
      6F03 > 596F
      73   > 5973
      70   > 5970
      6F07 > 4E6F
      6F04 > 596F)");
}

TEST(DeviceModel, RefusesRequestsThatAreDamagedOrOfTheWrongLength) {
  ModelUnderTest device;
  device.talk("6F06 > 596F");
  for (const char* request : {"7374", "73", "6F040073", "62000062", "620062", "6C0000", "66", ""}) {
    const auto answer = device.model.answer(bytesOf(request));
    EXPECT_THAT(answer, ElementsAre(bytesOf("4E" + std::string(request).substr(0, 2)))) << request;
  }
}

TEST(DeviceModel, RefusesWhatItsModeDoesNotAllow) {
  for (const char* mode : {"6F01", "6F02", "6F03", "6F04"}) {
    SCOPED_TRACE(mode);
    ModelUnderTest device;
    device.talk("6F06 > 596F \n 6C0100 00*16 > 596C \n 660100 00*16 > 5966");
    device.ask(mode);
    for (const char* request : {"6400 00*16", "6C0100 00*16", "660100 00*16", "620000", "6200FF", "6D0100", "670100"}) {
      EXPECT_THAT(device.ask(request), StartsWith("4E")) << request;
    }
    const char* const verdict = device.model.hasStreamed() ? "4E" : "59";
    for (const char* request : {"6300", "6500"}) EXPECT_THAT(device.ask(request), StartsWith(verdict)) << request;
  }
}

TEST(DeviceModel, KeepsParameterSetsAsWritten) {
  ModelUnderTest device;
  device.talk(R"(
      6500 > 596500 10000200 00*12
      6501 > 596501 1C21FFFF010A1E2D0A05050000000000
      6F06 > 596F
      6400 0102030405060708090A0B0C0D0E0F10 > 5964
      6500 > 596500 0102030405060708090A0B0C0D0E0F10
      6483 FF*16 > 5964
      6503 > 596503 FF*16
      6404 00*16 > 4E64
      6400 00*17 > 4E64
      6400 00*15 > 4E64
      6504 > 4E65
      6583 > 4E65)");
  for (const std::string set : {"02", "08", "09", "10", "11", "12", "13", "B8"}) {
    EXPECT_THAT(device.ask("65" + set), AllOf(StartsWith("5965" + set), SizeIs(2 * (3 + 16))));
  }
}

TEST(DeviceModel, GivesStoredPagesAsTheyWereWritten) {
  Options options;
  options.stored = {{0, 1, bytesOf("CA6A01")}, {0, 1, bytesOf("CA6502")}, {5, 254, bytesOf("99")}};
  ModelUnderTest(options).talk(R"(
      6320   > 596320 0002 0100 0200 0300 0400 05FF
      6F06   > 596F
      620000 > 5962
      620001 > CA6A01, CA6502, 5962
      620002 > 4E62
      620100 > 4E62
      6205FE > 99, 5962
      620600 > 4E62
      6200FF > 5962
      620001 > 4E62
      6206FF > 5962
      6207FF > 4E62
      6320   > 596320 0000 0100 0200 0300 0400 05FF)");
}

TEST(DeviceModel, GivesScriptedRepliesInPlaceOfItsOwn) {
  Options options;
  options.script = {{bytesOf("63"), {}},
                    {bytesOf("6300"), bytesOf("59630041")},
                    {bytesOf("6501"), bytesOf("5964")},
                    {bytesOf("6F03"), bytesOf("596F")}};
  ModelUnderTest device(options);
  device.talk("6300 > 59630041 \n 6302 > 4E63 \n 6501 > 5964 \n 6503 > 596503 FF*16 \n 6F03 > 596F");
  EXPECT_FALSE(device.model.hasStreamed()) << "a scripted reply changes nothing in the device";
}

TEST(DeviceModel, StreamsItsFileFromTheFirstLineAtEachStartUntilTheFileEndsTheStream) {
  Options options;
  options.stream = {bytesOf("CA6A01"), bytesOf("0102"), bytesOf("59"), bytesOf("CA6502")};
  ModelUnderTest device(options);
  EXPECT_FALSE(device.model.hasStreamed());
  device.talk("6F03 > 596F");
  EXPECT_THAT(device.stream(2), ElementsAre("CA6A01", "0102"));
  device.talk("6300 > 4E63 \n 6F05 > 4E6F \n 6F01 > 596F");
  EXPECT_THAT(device.stream(9), ElementsAre("CA6A01", "0102", "59"));
  EXPECT_THAT(device.ask("6300"), StartsWith("59"));
  device.talk("6F03 > 596F");
  EXPECT_THAT(device.stream(1), SizeIs(1));
  device.model.rest();
  EXPECT_FALSE(device.model.hasStreamed());
  EXPECT_THAT(device.ask("6300"), StartsWith("59"));
}

TEST(DeviceModel, StoresTheRecordsOfTheLastSessionThirteenAPage) {
  Options options;
  options.stored = {{3, 0, bytesOf("CA6A")}};
  options.stream.emplace(13, bytesOf("CA65"));
  options.stream->push_back(bytesOf("CA6A0D"));
  options.stream->push_back(bytesOf("CA70"));  // no record
  ModelUnderTest device(options);
  device.talk("6F03 > 596F");
  device.stream(99);
  device.talk(R"(
      6F06   > 596F
      6320   > 596320 0002 0100 0200 0300 0400 0500
      620000 > CA65, CA65, CA65, CA65, CA65, CA65, CA65, CA65, CA65, CA65, CA65, CA65, CA65, 5962
      620001 > CA6A0D, 5962
      6F01   > 596F
      6F04   > 596F
      6320   > 596320 0000 0100 0200 0300 0400 0500)");
}

TEST(DeviceModel, StoresNoMoreThanItsMemoryHolds) {
  Options options;
  options.stream.emplace(6 * 255 * 13 + 1, bytesOf("CA65"));
  ModelUnderTest device(options);
  device.talk("6F03 > 596F");
  device.stream(options.stream->size());
  device.talk("6F06 > 596F \n 6320 > 596320 00FF 01FF 02FF 03FF 04FF 05FF");
}

TEST(DeviceModel, NamesTheTargetsInUseInEachShot) {
  ModelUnderTest device;
  // Silhouette 9 at 50 yards; the set that was written last counts.
  device.talk(R"(
      6F06 > 596F
      660900 10 01 01F4 00*12 > 5966
      6401 0000 0709 00*12 > 5964
      6402 0000 FF09 00*12 > 5964
      6F03 > 596F)");
  for (const auto& payload : device.stream(100)) {
    if (!payload.starts_with("CA6A")) continue;
    EXPECT_EQ(payload.substr(2 * 14, 6), "FF0903");
    EXPECT_EQ(payload.substr(2 * 28), "01C9") << "45.7 m";
    return;
  }
  FAIL() << "no shot";
}

}  // namespace
}  // namespace BX::sim
