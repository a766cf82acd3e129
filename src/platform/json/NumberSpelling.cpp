#include "platform/json/NumberSpelling.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <locale>
#include <sstream>

namespace MORVA {

namespace {

constexpr std::string_view digits = "0123456789";
constexpr std::string_view ofNumbers = "+-.eE0123456789";
// Refused by the reader, as every number beyond the largest double is.
constexpr auto tooLarge = "1e999";

// How many of `accepted` `text` begins with.
std::size_t countOf(std::string_view text, std::string_view accepted) {
  return std::min(text.find_first_not_of(accepted), text.size());
}

// Whether `text` began with one of `accepted`, which is then gone.
bool takeOne(std::string_view& text, std::string_view accepted) {
  if (text.empty() || accepted.find(text[0]) == std::string_view::npos) return false;
  text.remove_prefix(1);
  return true;
}
bool takeDigits(std::string_view& text) {
  const std::size_t count = countOf(text, digits);
  text.remove_prefix(count);
  return count > 0;
}

bool isNumber(std::string_view text) {
  takeOne(text, "-");
  if (!takeOne(text, "0") && !takeDigits(text)) return false;
  if (takeOne(text, ".") && !takeDigits(text)) return false;
  if (takeOne(text, "eE")) {
    takeOne(text, "+-");
    if (!takeDigits(text)) return false;
  }
  return text.empty();
}

template <typename Integer>
bool fits(std::string_view number) {
  Integer value = 0;
  const auto* const end = number.data() + number.size();
  const auto read = std::from_chars(number.data(), end, value);
  return read.ec == std::errc() && read.ptr == end;
}

std::string shortest(std::string_view number) {
  if (fits<std::int64_t>(number) || fits<std::uint64_t>(number)) return std::string(number);
  std::istringstream stream{std::string(number)};
  stream.imbue(std::locale::classic());
  double value = 0;
  if (!(stream >> value)) return tooLarge;
  std::array<char, 32> buffer{};
  const auto written = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
  std::string text(buffer.data(), written.ptr);
  if (text.find_first_of(".e") == std::string::npos) text += ".0";  // it stays no integer
  return text;
}

// The length of a text, its quotation marks included, or of what there is of one.
std::size_t textLength(std::string_view text) {
  for (std::size_t at = 1; at < text.size(); ++at) {
    if (text[at] == '"') return at + 1;
    if (text[at] == '\\') ++at;
  }
  return text.size();
}

// The code unit of \uXXXX at the start of `text`; 0 when there is none.
unsigned escapedUnit(std::string_view text) {
  constexpr std::size_t size = 6;
  unsigned unit = 0;
  if (text.size() < size || !text.starts_with("\\u")) return 0;
  const auto read = std::from_chars(text.data() + 2, text.data() + size, unit, 16);
  return read.ptr == text.data() + size ? unit : 0;
}

// Whether the second half of a surrogate pair is spelled in `text` without a first one before it.
bool hasLoneSecondHalf(std::string_view text) {
  bool followsFirst = false;
  for (auto at = text.find('\\'); at < text.size(); at = text.find('\\', at)) {
    const unsigned unit = escapedUnit(text.substr(at));
    if (unit >= 0xDC00 && unit <= 0xDFFF && !followsFirst) return true;
    // A first half that no second one follows is the reader's to refuse.
    followsFirst = unit >= 0xD800 && unit <= 0xDBFF;
    at += unit != 0 ? 6 : 2;
  }
  return false;
}

bool beginsWithCutMark(std::string_view text) {
  constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
  return text.starts_with(byteOrderMark[0]) && !text.starts_with(byteOrderMark);
}

}  // namespace

std::optional<std::string> withShortNumbers(std::string_view text) {
  if (beginsWithCutMark(text)) return std::nullopt;
  std::string result;
  result.reserve(text.size());
  while (!text.empty()) {
    std::size_t size = 1;
    if (text[0] == '"') {
      size = textLength(text);
      if (hasLoneSecondHalf(text.substr(0, size))) return std::nullopt;
      result += text.substr(0, size);
    } else if (text[0] == '-' || countOf(text.substr(0, 1), digits) > 0) {
      size = countOf(text, ofNumbers);
      if (!isNumber(text.substr(0, size))) return std::nullopt;
      result += shortest(text.substr(0, size));
    } else {
      result += text[0];
    }
    text.remove_prefix(size);
  }
  return result;
}

}  // namespace MORVA
