// A device model that is talked to in hexadecimal payloads.
#pragma once

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "simulator/DeviceModel.h"
#include "tests/support/Hex.h"

namespace BX::sim {

class ModelUnderTest {
 public:
  explicit ModelUnderTest(Options options = {}) : options_(std::move(options)), model(options_) {}

  // The payloads of the answer to a request, which is told without its sum byte.
  std::string ask(const std::string& request) {
    Bytes bytes = test::bytesOf(plain(request));
    bytes.push_back(wire::sumOf(bytes));
    std::string answer;
    for (const Bytes& payload : model.answer(bytes)) answer += (answer.empty() ? "" : ",") + test::hexOf(payload);
    return answer;
  }
  // Expects what each line tells: REQUEST > PAYLOAD, PAYLOAD. A byte may be told as often as it comes: 00*16.
  void talk(const std::string& dialogue) {
    std::istringstream lines(dialogue);
    for (std::string line; std::getline(lines, line);) {
      const auto answer = line.find('>');
      if (answer == std::string::npos) continue;
      EXPECT_EQ(ask(line.substr(0, answer)), plain(line.substr(answer + 1))) << line;
    }
  }
  std::vector<std::string> stream(std::size_t limit) {
    std::vector<std::string> payloads;
    while (model.hasStreamed() && payloads.size() < limit) payloads.push_back(test::hexOf(model.nextStreamed()));
    return payloads;
  }

 private:
  static std::string plain(const std::string& text) {
    std::istringstream words(text);
    std::string result;
    for (std::string word; words >> word;) {
      const auto star = word.find('*');
      const int times = star == std::string::npos ? 1 : std::stoi(word.substr(star + 1));
      for (int i = 0; i < times; ++i) result += word.substr(0, star);
    }
    return result;
  }

  Options options_;

 public:
  DeviceModel model;
};

}  // namespace BX::sim
