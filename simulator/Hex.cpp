#include "simulator/Hex.h"

#include <stdexcept>

namespace BX::sim {

namespace {

constexpr std::string_view digits = "0123456789ABCDEF";

int digitValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

}  // namespace

std::string toHex(std::span<const std::uint8_t> bytes) {
  std::string text;
  text.reserve(2 * bytes.size());
  for (const std::uint8_t byte : bytes) {
    text += digits[byte >> 4];
    text += digits[byte & 0x0F];
  }
  return text;
}

std::vector<std::uint8_t> fromHex(std::string_view text) {
  std::vector<std::uint8_t> bytes;
  bytes.reserve(text.size() / 2);
  int high = -1;
  for (const char c : text) {
    if (c == ' ' || c == '\t' || c == '\r') continue;
    const int value = digitValue(c);
    if (value < 0) throw std::runtime_error(std::string("not a hexadecimal digit: '") + c + "'");
    if (high < 0) {
      high = value;
    } else {
      bytes.push_back(static_cast<std::uint8_t>(high * 16 + value));
      high = -1;
    }
  }
  if (high >= 0) throw std::runtime_error("odd number of hexadecimal digits");
  return bytes;
}

}  // namespace BX::sim
