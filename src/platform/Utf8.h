// Texts whose bytes come from elsewhere: devices, files, port names. No I/O here.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace BX::platform {

// What is no valid UTF-8 becomes U+FFFD.
std::string validUtf8(std::string_view text);

// The same, and each control character but the line feed is spelled \u001B: a terminal would obey it. These are
// U+0000 to U+001F and U+007F to U+009F, and those that break lines or turn the text round: U+200E, U+200F, U+2028 to
// U+202E and U+2066 to U+2069. JSON text stays JSON that means the same.
std::string printable(std::string_view text);

// The path that UTF-8 names; a system whose paths are bytes takes any.
std::filesystem::path pathOf(std::string_view utf8);
std::string utf8Of(const std::filesystem::path& path);

}  // namespace BX::platform
