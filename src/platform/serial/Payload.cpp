#include "platform/serial/Payload.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <numeric>
#include <utility>

#include "bx/BXSerialCom.h"

namespace BX::link {

namespace {

constexpr std::size_t bytesInText = 4;

// The first bytes of a payload for an error text, such as "6D 05 00 72".
std::string hexOf(const Bytes& bytes) {
  std::string text;
  for (std::size_t i = 0; i < std::min(bytes.size(), bytesInText); ++i) {
    std::array<char, 4> digits{};
    std::snprintf(digits.data(), digits.size(), "%s%02X", i == 0 ? "" : " ", static_cast<unsigned>(bytes[i]));
    text += digits.data();
  }
  return bytes.size() > bytesInText ? text + " ..." : text;
}

}  // namespace

std::uint8_t sumOf(std::span<const std::uint8_t> bytes) {
  return static_cast<std::uint8_t>(std::accumulate(bytes.begin(), bytes.end(), 0U));
}

Bytes withSum(std::initializer_list<std::uint8_t> bytes) {
  Bytes payload(bytes);
  payload.push_back(sumOf(payload));
  return payload;
}

std::optional<std::uint8_t> informationCode(const std::string& item) {
  const std::array<std::pair<const std::string&, std::uint8_t>, 8> codes{{
      {BXSerialCom::DEVICE_INFO_SERIAL_NUMBER, std::uint8_t{0}},
      {BXSerialCom::DEVICE_INFO_USAGE_INFORMATION, std::uint8_t{1}},
      {BXSerialCom::DEVICE_INFO_ID, std::uint8_t{2}},
      {BXSerialCom::DEVICE_INFO_PROGRAM, std::uint8_t{3}},
      {BXSerialCom::DEVICE_INFO_DATE, std::uint8_t{4}},
      {BXSerialCom::DEVICE_INFO_TIME, std::uint8_t{5}},
      {BXSerialCom::DEVICE_INFO_ERROR_COUNTERS, std::uint8_t{6}},
      {BXSerialCom::DEVICE_INFO_STORED_RESULTS, std::uint8_t{0x20}},
  }};
  for (const auto& [text, code] : codes) {
    if (text == item) return code;
  }
  return std::nullopt;
}

std::optional<std::string> failureOf(const Bytes& request, const Expected& expected, const Bytes& answer) {
  const std::uint8_t requestLetter = request.empty() ? std::uint8_t{0} : request[0];
  if (answer.size() >= 2 && answer[0] == wire::refusalMark && answer[1] == requestLetter) {
    return "refused by the device (request " + hexOf(request) + ")";
  }
  if (!expected.letter) return std::nullopt;
  if (answer.size() >= 2 && answer[0] == wire::replyMark && answer[1] == *expected.letter) return std::nullopt;
  return "unexpected answer " + hexOf(answer) + " (request " + hexOf(request) + ")";
}

}  // namespace BX::link
