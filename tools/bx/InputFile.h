// Files that are read.
#pragma once

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

#include "Console.h"
#include "platform/Utf8.h"

namespace BX::tool {

// Opens what `path` names in UTF-8; bytes come as they are. errno is 0, or tells why it, or what is read later, failed.
// A folder is told as one, whether the system lets it be opened or not.
inline std::ifstream openInput(const std::string& path) {
  const auto file = platform::pathOf(path);
  errno = 0;
  std::ifstream stream(file, std::ios::binary);
  std::error_code error;
  if (!stream && std::filesystem::is_directory(file, error)) errno = EISDIR;
  return stream;
}

// Throws when what would be written is what is read, which even --overwrite does not ask for.
inline void refuseInput(const std::string& output, const std::string& input, const std::string& role) {
  std::error_code unknown;
  if (std::filesystem::equivalent(platform::pathOf(input), platform::pathOf(output), unknown)) {
    throw Failure(wrongUsage, output + ": is the " + role + " itself");
  }
}

}  // namespace BX::tool
