#include "platform/Utf8.h"

#include <array>
#include <boost/nowide/utf/utf.hpp>

#include "platform/Hex.h"

namespace BX::platform {

namespace {

namespace utf = boost::nowide::utf;

constexpr std::string_view replacement = "\xEF\xBF\xBD";

bool isControl(utf::code_point character) {
  return (character < 0x20 && character != '\n') || (character >= 0x7F && character <= 0x9F) || character == 0x200E ||
         character == 0x200F || (character >= 0x2028 && character <= 0x202E) ||
         (character >= 0x2066 && character <= 0x2069);
}

std::string spelled(utf::code_point control) {
  return "\\u" + hexOf(std::array{static_cast<std::uint8_t>(control >> 8), static_cast<std::uint8_t>(control)});
}

std::string cleaned(std::string_view text, bool spellsControls) {
  std::string clean;
  clean.reserve(text.size());
  const char* const end = text.data() + text.size();
  for (const char* at = text.data(); at != end;) {
    const char* next = at;
    const utf::code_point character = utf::utf_traits<char>::decode(next, end);
    if (character == utf::illegal || character == utf::incomplete) {
      clean += replacement;
      ++at;  // this byte only: the next one may be a quotation mark
      continue;
    }
    if (spellsControls && isControl(character)) {
      clean += spelled(character);
    } else {
      clean.append(at, next);
    }
    at = next;
  }
  return clean;
}

}  // namespace

std::string validUtf8(std::string_view text) { return cleaned(text, false); }

std::string printable(std::string_view text) { return cleaned(text, true); }

std::filesystem::path pathOf(std::string_view utf8) { return std::u8string(utf8.begin(), utf8.end()); }

std::string utf8Of(const std::filesystem::path& path) {
  const std::u8string text = path.u8string();
  return {text.begin(), text.end()};
}

}  // namespace BX::platform
