// The device by its payloads: modes, settings, targets, memory and stream.
#include "simulator/DeviceModel.h"

#include <gtest/gtest.h>

#include <sstream>

#include "tests/support/Hex.h"
#include "tests/support/Table.h"

namespace BX::sim {
namespace {

using test::bytesOf;

// `text` without blanks; a word may be told as often as it comes: 00*16.
std::string plain(const std::string& text) {
  std::istringstream words(text);
  std::string result;
  for (std::string word; words >> word;) {
    const auto star = word.find('*');
    const int times = star == std::string::npos ? 1 : std::stoi(word.substr(star + 1));
    for (int i = 0; i < times; ++i) result += word.substr(0, star);
  }
  return result;
}

class Device {
 public:
  explicit Device(Options options = {}) : options_(std::move(options)) {}

  // Expects what each line tells: REQUEST > PAYLOAD, PAYLOAD, and the next exchange after a bar. A request is told
  // without its sum byte. Others: "sealed REQUEST" (with its own), "rest", "stream N" (up to so many payloads), "shot"
  // (what the next shot names: ring, silhouette, mode, distance).
  Device& talk(const std::string& dialogue) {
    for (const auto& exchanges : test::rowsOf(dialogue)) {
      for (const auto& exchange : exchanges) {
        const auto answer = exchange.find('>');
        EXPECT_EQ(say(exchange.substr(0, answer)), plain(exchange.substr(answer + 1))) << exchange;
      }
    }
    return *this;
  }

 private:
  std::string say(const std::string& what) {
    std::istringstream words(what);
    std::string word;
    std::string rest;
    std::getline(words >> word >> std::ws, rest);
    if (word == "rest") return model_.rest(), "";
    if (word == "sealed") return told(model_.answer(bytesOf(rest)));
    if (word == "stream") return streamed(std::stoi(rest));
    if (word == "shot") return shot();
    Bytes request = bytesOf(plain(what));
    request.push_back(wire::sumOf(request));
    return told(model_.answer(request));
  }
  std::string streamed(int limit) {
    std::vector<Bytes> payloads;
    for (; limit > 0 && model_.hasStreamed(); --limit) payloads.push_back(model_.nextStreamed());
    return told(payloads);
  }
  std::string shot() {
    Bytes record;
    while (record.size() < 2 || record[1] != wire::shotRecord) record = model_.nextStreamed();
    return test::hexOf(std::span(record).subspan(14, 3)) + test::hexOf(std::span(record).subspan(28));
  }
  static std::string told(const std::vector<Bytes>& payloads) {
    std::string text;
    for (const Bytes& payload : payloads) text += (text.empty() ? "" : ",") + test::hexOf(payload);
    return text;
  }

  Options options_;
  DeviceModel model_{options_};
};

Options streaming(std::vector<Bytes> payloads) {
  Options options;
  options.stream = std::move(payloads);
  return options;
}

TEST(DeviceModel, AnswersWhatItKnowsAndRefusesTheRest) {
  Device().talk(R"(
      73   > 5973 | 70   > 5970 | 41   > 4E41
      6F00 > 4E6F | 6F05 > 4E6F | 6F07 > 4E6F
      6300 > 596300 53494D2D303030303031 | 6304 > 596304 444154453A2032312E31312E3236 | 6307 > 4E63
      sealed 7374     > 4E73 | sealed 73     > 4E73 | sealed > 4E
      6F06 > 596F
      sealed 62000062 > 4E62 | sealed 620062 > 4E62 | sealed 6C0000 > 4E6C | sealed 66 > 4E66 | 6F0400 > 4E6F)");
}

TEST(DeviceModel, RefusesWhatItsModeDoesNotAllow) {
  for (const std::string mode : {"6F01", "6F02", "6F03", "6F04"}) {
    Device device(streaming({}));
    device.talk("6F06 > 596F | 6C0100 00*16 > 596C | 660100 00*16 > 5966 | " + mode + " > 596F").talk(R"(
        6400 00*16 > 4E64 | 6C0100 00*16 > 4E6C | 660100 00*16 > 4E66 | 620000 > 4E62 | 6200FF > 4E62
        6D0100     > 4E6D | 670100       > 4E67)");
    const bool isStream = mode == "6F01" || mode == "6F03";
    device.talk(isStream ? "6306 > 4E63 | 65B8 > 4E65" : "6306 > 596306 30 | 65B8 > 5965B8 425831 00*13");
  }
}

TEST(DeviceModel, KeepsParameterSetsAsWritten) {
  Device().talk(R"(
      6500 > 596500 10000200 00*12 | 6501 > 596501 1C21FFFF010A1E2D0A05050000000000 | 6504 > 4E65 | 6583 > 4E65
      6F06 > 596F
      6400 0102030405060708090A0B0C0D0E0F10 > 5964 | 6500 > 596500 0102030405060708090A0B0C0D0E0F10
      6483 EE*16 > 5964 | 6503       > 596503 EE*16
      6404 00*16 > 4E64 | 6400 00*17 > 4E64 | 6400 00*15 > 4E64)");
}

TEST(DeviceModel, GivesRingTargetsBackWithoutTheGap) {
  Device().talk(R"(
      6F06 > 596F | 6D0700 > 4E6D
      6C0700 010200FA0234 0A010A 00 AABB 01020304 > 596C | 6D0700 > 596D0700 010200FA0234 0A010A AABB 01020304
      6C0701 11*16                                > 596C | 6D0701 > 596D0701 11*16
      6C0783 4142434445464748494A4B 00*6          > 596C | 6D0783 > 596D0783 4142434445464748494A4B 00*6
      6D0702 > 4E6D | 6D0800 > 4E6D | 6C0703 00*16 > 4E6C | 6C0700 00*17 > 4E6C | 6C0700 00*15 > 4E6C
      6C0700 00*16 > 596C | 6D0701 > 4E6D)");  // beginning a target anew forgets its other frames
}

TEST(DeviceModel, GivesSilhouettesBackWithTheRequestEchoed) {
  Device().talk(R"(
      6F06 > 596F | 670300 > 4E67 | 660302 00*16 > 4E66
      660300 A3*16 > 5966 | 660301 B3*16   > 5966 | 664300 E4 1B*15 > 5966 | 664301 0102 > 5966
      670300 > 59670300 A3*16    | 670301 > 59670301 B3*16 | 670302 > 4E67
      674000 > 59674000 E4 1B*15 | 674080 > 59674080 E4 1B*15
      674001 > 59674001 0102     | 67403F > 5967403F 00*16
      660300 A3*16 > 5966 | 670300 > 59670300 A3*16 | 674000 > 59674000 00*16 | 670301 > 4E67)");
}

TEST(DeviceModel, TellsTheRowsOfOneSlotFromTheFramesOfAnother) {
  // Frame 0 to 0x43 is row 0 of slot 3; the second one is no row 1, but the settings of slot 0x43 itself. A mode change
  // ends the upload: what comes next is no row.
  Device().talk(R"(
      6F06 > 596F
      660300 A3*16 > 5966 | 660301 B3*16 > 5966 | 664300 01 > 5966
      664300 A4*16 > 5966 | 664301 B4*16 > 5966 | 668300 02 > 5966
      670300 > 59670300 A3*16 | 674000 > 59674000 01
      674300 > 59674300 A4*16 | 674301 > 59674301 B4*16 | 674000 > 59674000 02
      660301 B3*16 > 5966 | 6F06 > 596F | 664300 A5*16 > 5966 | 674300 > 59674300 A5*16)");
  // Slot 0x40 comes back although rows are asked for under its number; again after the last row of another slot.
  Device().talk(R"(
      6F06 > 596F
      660300 A3*16 > 5966     | 664000 A4*16 > 5966     | 664001 B4*16 > 5966     | 668000 02 > 5966
      674000 > 59674000 A4*16 | 674001 > 59674001 B4*16 | 674000 > 59674000 02    | 674001 > 59674001 00*16
      670300 > 59670300 A3*16 | 670301 > 4E67           | 67403F > 5967403F 00*16
      674000 > 59674000 A4*16 | 674001 > 59674001 B4*16 | 674000 > 59674000 02)");
}

TEST(DeviceModel, GivesStoredPagesAsTheyWereWritten) {
  Options options;
  options.stored = {{0, 1, bytesOf("CA6A01")}, {0, 1, bytesOf("CA6502")}, {5, 254, bytesOf("99")}};
  Device(options).talk(R"(
      6320   > 596320 0002 0100 0200 0300 0400 05FF | 6F06 > 596F
      620000 > 5962 | 620001 > CA6A01, CA6502, 5962 | 6205FE > 99, 5962
      620002 > 4E62 | 620100 > 4E62                 | 620600 > 4E62
      6200FF > 5962 | 620001 > 4E62                 | 6206FF > 5962 | 6207FF > 4E62
      6320   > 596320 0000 0100 0200 0300 0400 05FF)");
}

TEST(DeviceModel, GivesScriptedRepliesInPlaceOfItsOwn) {
  Options options;
  options.script = {{bytesOf("63"), {}}, {bytesOf("6300"), bytesOf("41")}, {bytesOf("6F03"), bytesOf("596F")}};
  // A scripted reply changes nothing in the device.
  Device(options).talk("6300 > 41 | 6302 > 4E63 | 6503 > 596503 FF*16 | 6F03 > 596F | stream 1 >");
}

TEST(DeviceModel, StreamsItsFileFromTheFirstLineAtEachStartUntilTheFileEndsTheStream) {
  Device(streaming({bytesOf("CA6A01"), bytesOf("0102"), bytesOf("59"), bytesOf("CA6502")})).talk(R"(
      stream 1 >
      6F03 > 596F | stream 2 > CA6A01, 0102     | 6300 > 4E63 | 6F05 > 4E6F
      6F01 > 596F | stream 9 > CA6A01, 0102, 59 | 6306 > 596306 30
      6F03 > 596F | stream 1 > CA6A01 | rest >  | stream 1 >  | 6306 > 596306 30)");
}

TEST(DeviceModel, StoresTheRecordsOfTheLastSessionThirteenAPage) {
  std::vector<Bytes> payloads(13, bytesOf("CA65"));
  payloads.push_back(bytesOf("CA6A0D"));
  payloads.push_back(bytesOf("CA70"));  // no record
  Options options = streaming(payloads);
  options.stored = {{3, 0, bytesOf("CA6A")}};
  Device device(options);
  for (int i = 0; i < 2; ++i) {
    device.talk("6F03 > 596F | stream 99 > CA65,*13 CA6A0D, CA70 | 6F06 > 596F").talk(R"(
      6320   > 596320 0002 0100 0200 0300 0400 0500
      620000 > CA65,*13 5962 | 620001 > CA6A0D, 5962)");
  }
  device.talk("6F01 > 596F | 6F04 > 596F | 6320 > 596320 0000 0100 0200 0300 0400 0500");
}

TEST(DeviceModel, StoresNoMoreThanItsMemoryHolds) {
  const std::string places = std::to_string(6 * 255 * 13);
  Device(streaming(std::vector<Bytes>(6 * 255 * 13 + 1, {wire::record, wire::shotRecord})))
      .talk("6F03 > 596F | stream 99999 > CA6A,*" + places + " CA6A")
      .talk("6F06 > 596F | 6320 > 596320 00FF 01FF 02FF 03FF 04FF 05FF");
}

TEST(DeviceModel, NamesTheTargetsInUseInEachShot) {
  // Silhouette 9 at 50 yards; the set that was written last counts.
  Device().talk(R"(
      6F06 > 596F | 660900 10 01 01F4 00*12 > 5966
      6401 0000 0709 00*12 > 5964 | 6402 0000 FF09 00*12 > 5964 | 6F03 > 596F
      shot > FF0903 01C9)");  // 45.7 m
}

}  // namespace
}  // namespace BX::sim
