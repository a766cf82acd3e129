// An answer that carries one item of device information. No I/O here.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace BX::device {

struct InformationItem {
  std::uint8_t code = 0;
  std::string text;
};

// The item that an answer carries: its text ends before the first zero byte, and after 15 characters at most. None
// when the answer is no device information.
std::optional<InformationItem> decodeInformation(std::span<const std::uint8_t> reply);

struct InformationSetting {
  const char* key;
  std::string value;
};

// The device setting that an item becomes; none for items that are not kept. Dates and times are kept without their
// label, the first 6 characters: throws std::out_of_range when they are shorter than that.
std::optional<InformationSetting> settingOf(const InformationItem& item);

}  // namespace BX::device
