#include "platform/codec/Payload.h"

#include <numeric>

#include "bx/BXSerialCom.h"
#include "platform/Hex.h"

namespace BX::link {

namespace {

// The first bytes of a payload for an error text, such as "6D 05 00 72".
std::string hexOf(const Bytes& bytes) { return platform::hexOf(bytes, " ", 4); }

}  // namespace

std::uint8_t sumOf(std::span<const std::uint8_t> bytes) {
  return static_cast<std::uint8_t>(std::accumulate(bytes.begin(), bytes.end(), 0U));
}

Bytes withSum(std::initializer_list<std::uint8_t> bytes) {
  Bytes payload(bytes);
  payload.push_back(sumOf(payload));
  return payload;
}

std::optional<std::uint8_t> informationCode(std::string_view name) {
  for (const InformationItem& each : {item::serialNumber, item::usageInformation, item::id, item::program, item::date,
                                      item::time, item::errorCounters, item::storedResults}) {
    if (each.name == name) return each.code;
  }
  return std::nullopt;
}

bool isStreamMode(std::uint8_t mode) {
  return mode == BXSerialCom::CLASSIC_STREAM || mode == BXSerialCom::FIELD_STREAM;
}

bool isModeAnswer(std::span<const std::uint8_t> answer) {
  return answer.size() >= 2 && answer[0] == wire::replyMark && answer[1] == letter::mode;
}

bool isEndOfStream(std::span<const std::uint8_t> payload) {
  return payload.size() == 1 && payload[0] == wire::replyMark;
}

std::optional<Failure> failureOf(const Bytes& request, const Expected& expected, const Bytes& answer) {
  const std::uint8_t requestLetter = request.empty() ? std::uint8_t{0} : request[0];
  if (answer.size() >= 2 && answer[0] == wire::refusalMark && answer[1] == requestLetter) {
    return Failure{FailureKind::Refused, request, "refused by the device"};
  }
  const bool named = answer.size() >= 2 && answer[0] == wire::replyMark && answer[1] == expected.letter;
  if (named || (!expected.letter && answer != request)) return std::nullopt;
  return Failure{FailureKind::UnexpectedAnswer, request, "unexpected answer " + hexOf(answer)};
}

}  // namespace BX::link
