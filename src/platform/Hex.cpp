#include "platform/Hex.h"

#include <algorithm>
#include <stdexcept>

namespace BX::platform {

namespace {

constexpr std::string_view digits = "0123456789ABCDEF";
constexpr std::string_view blanks = " \t\r";

int valueOf(char c) {
  if (c >= 'a' && c <= 'f') c = static_cast<char>(c - 'a' + 'A');
  const auto value = digits.find(c);
  if (value == std::string_view::npos) throw std::runtime_error(std::string("not a hexadecimal digit: '") + c + "'");
  return static_cast<int>(value);
}

}  // namespace

std::string hexOf(std::span<const std::uint8_t> bytes, std::string_view separator, std::size_t limit) {
  const auto shown = bytes.first(std::min(bytes.size(), limit));
  std::string text;
  text.reserve(shown.size() * (2 + separator.size()));
  for (const std::uint8_t byte : shown) {
    if (!text.empty()) text += separator;
    text += digits[byte >> 4U];
    text += digits[byte & 0x0FU];
  }
  return shown.size() < bytes.size() ? text + " ..." : text;
}

std::vector<std::uint8_t> bytesOf(std::string_view hex) {
  std::vector<std::uint8_t> bytes;
  bytes.reserve(hex.size() / 2);
  int high = -1;
  for (const char c : hex) {
    if (blanks.find(c) != std::string_view::npos) continue;
    const int value = valueOf(c);
    if (high < 0) {
      high = value;
    } else {
      bytes.push_back(static_cast<std::uint8_t>(high << 4U | value));
      high = -1;
    }
  }
  if (high >= 0) throw std::runtime_error("odd number of hexadecimal digits");
  return bytes;
}

}  // namespace BX::platform
