#include "device/InformationReply.h"

#include <algorithm>

#include "bx/DocumentKeys.h"
#include "platform/Wire.h"

namespace BX::device {

namespace {

constexpr std::size_t codeOffset = 2;
constexpr std::size_t textOffset = 3;
constexpr std::size_t maxTextLength = 15;
constexpr std::size_t labelLength = 6;

enum Code : std::uint8_t { SerialNumber = 0, Id = 2, Program = 3, Date = 4, Time = 5 };

}  // namespace

std::optional<InformationItem> decodeInformation(std::span<const std::uint8_t> reply) {
  if (!wire::isReply(reply, wire::letter::information) || reply.size() <= codeOffset) return std::nullopt;
  const auto field = reply.subspan(textOffset, std::min(maxTextLength, reply.size() - textOffset));
  return InformationItem{.code = reply[codeOffset], .text = {field.begin(), std::find(field.begin(), field.end(), 0)}};
}

std::optional<InformationSetting> settingOf(const InformationItem& item) {
  switch (item.code) {
    case SerialNumber:
      return InformationSetting{key::settings::serialNumber, item.text};
    case Id:
      return InformationSetting{key::settings::deviceId, item.text};
    case Program:
      return InformationSetting{key::settings::program, item.text};
    case Date:
      return InformationSetting{key::settings::date, item.text.substr(labelLength)};
    case Time:
      return InformationSetting{key::settings::time, item.text.substr(labelLength)};
    default:
      return std::nullopt;
  }
}

}  // namespace BX::device
