// The tool's file formats: one entry a line; blank lines and lines that begin with '#' are skipped.
#include <cerrno>
#include <charconv>
#include <cstddef>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

#include "platform/Hex.h"
#include "simulator/DeviceWire.h"
#include "simulator/Simulator.h"

namespace BX::sim {

namespace {

constexpr std::string_view blanks = " \t\r";

std::string_view trimmed(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(blanks);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(blanks) - begin + 1);
}

void forEachEntry(const std::string& path, const std::function<void(std::string_view entry)>& parse) {
  errno = 0;
  std::ifstream file(path);
  std::string line;
  std::size_t number = 0;
  while (std::getline(file, line)) {
    ++number;
    const std::string_view entry = trimmed(line);
    if (entry.empty() || entry.front() == '#') continue;
    try {
      parse(entry);
    } catch (const std::runtime_error& error) {
      throw std::runtime_error(path + ":" + std::to_string(number) + ": " + error.what());
    }
  }
  if (!file.eof()) throw std::runtime_error(path + ": " + std::generic_category().message(errno ? errno : EIO));
}

// Cuts the next word off `rest` and reads it as a decimal number up to `limit`.
std::uint8_t takeNumber(std::string_view& rest, std::uint8_t limit, const std::string& name) {
  const std::string_view word = rest.substr(0, rest.find_first_of(blanks));
  unsigned value = 0;
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
  if (error != std::errc() || end != word.data() + word.size() || value > limit) {
    throw std::runtime_error(name + " is not a number from 0 to " + std::to_string(limit) + ": '" + std::string(word) +
                             "'");
  }
  rest = trimmed(rest.substr(word.size()));
  return static_cast<std::uint8_t>(value);
}

}  // namespace

std::vector<Bytes> readStreamFile(const std::string& path) {
  std::vector<Bytes> payloads;
  forEachEntry(path, [&](std::string_view entry) { payloads.push_back(platform::bytesOf(entry)); });
  return payloads;
}

std::vector<StoredRecord> readStoredFile(const std::string& path) {
  std::vector<StoredRecord> records;
  forEachEntry(path, [&](std::string_view entry) {
    StoredRecord record;
    record.block = takeNumber(entry, wire::storedBlocks - 1, "the block");
    record.page = takeNumber(entry, wire::maxPages - 1, "the page");
    record.payload = platform::bytesOf(entry);
    if (record.payload.empty()) throw std::runtime_error("no record after the page");
    records.push_back(std::move(record));
  });
  return records;
}

std::vector<ScriptedReply> readScriptFile(const std::string& path) {
  std::vector<ScriptedReply> replies;
  forEachEntry(path, [&](std::string_view entry) {
    const std::size_t equals = entry.find('=');
    if (equals == std::string_view::npos) throw std::runtime_error("no '=' between request and reply");
    ScriptedReply reply{platform::bytesOf(entry.substr(0, equals)), platform::bytesOf(entry.substr(equals + 1))};
    if (reply.request.empty()) throw std::runtime_error("no request before the '='");
    replies.push_back(std::move(reply));
  });
  return replies;
}

}  // namespace BX::sim
