#include "RecordsMessage.h"

#include <rapidjson/document.h>

#include <optional>

#include "Sender.h"
#include "morva/MORVADataTypeJSON.h"
#include "scoring/Members.h"

namespace BX::range {

namespace {

using scoring::memberOf;

constexpr std::size_t largestMessage = std::size_t{16} << 20;  // the longest line that readers of session files take
constexpr std::int64_t highestNumber = highestSessionNumber;   // of lines, too
constexpr std::string_view beforeLines = "\"lines\":[";

struct Parts {
  std::string envelope;    // the message without its lines
  std::string_view lines;  // each with a line feed at its end
};

// Nothing when the lines of the session are not on lines of their own.
std::optional<Parts> takeApart(std::string_view message) {
  const auto begin = message.find('\n');
  if (begin == std::string_view::npos || !message.substr(0, begin).ends_with(beforeLines)) return std::nullopt;
  const auto end = message.rfind('\n');
  if (!message.substr(end + 1).starts_with(']')) return std::nullopt;
  return Parts{std::string(message.substr(0, begin)).append(message.substr(end + 1)),
               message.substr(begin + 1, end - begin)};
}

// Between 0 and the most that a double holds exactly.
std::optional<std::int64_t> numberIn(const rapidjson::Value& envelope, const char* key) {
  const auto& value = memberOf(envelope, key);
  if (!value.IsInt64() || value.GetInt64() < 0 || value.GetInt64() > highestNumber) return std::nullopt;
  return value.GetInt64();
}

// Gives what is wrong; empty when nothing is.
std::string readLines(std::string_view text, std::vector<std::string_view>& lines) {
  while (!text.empty()) {
    const auto end = text.find('\n');
    std::string_view line = text.substr(0, end);
    text.remove_prefix(end + 1);
    if (!text.empty()) {
      if (!line.ends_with(',')) return "no comma between its lines";
      line.remove_suffix(1);
    }
    if (line.empty()) return "an empty line";
    lines.push_back(line);
  }
  return {};
}

std::string readEnvelope(const rapidjson::Value& envelope, RecordsMessage& chunk) {
  const auto first = numberIn(envelope, "first");
  if (!first) return "no number of the first line";
  chunk.first = *first;
  const auto& end = memberOf(envelope, "end");
  if (!end.IsBool() && !end.IsNull()) return "\"end\" is neither true nor false";
  chunk.isEnd = end.IsTrue();
  const auto& lines = memberOf(envelope, "lines");
  return lines.IsArray() && lines.Empty() ? "" : "its lines are not on lines of their own";
}

}  // namespace

RecordsMessage readRecords(std::string_view message) {
  if (message.size() > largestMessage) throw Unusable("larger than 16 MiB");
  const auto parts = takeApart(message);
  const std::string_view text = parts ? std::string_view(parts->envelope) : message;
  rapidjson::Document envelope;
  envelope.Parse<rapidjson::kParseIterativeFlag>(text.data(), text.size());
  if (envelope.HasParseError() || !envelope.IsObject()) throw Unusable("no JSON object");
  const auto session = numberIn(envelope, "session");
  if (!session || *session == 0) throw Unusable("no session number");
  RecordsMessage chunk;
  chunk.session = *session;
  chunk.problem = readEnvelope(envelope, chunk);
  if (chunk.problem.empty() && parts) chunk.problem = readLines(parts->lines, chunk.lines);
  return chunk;
}

void requireHeader(std::string_view line, std::int64_t session) {
  MORVA::MORVADataTypeJSON header;
  if (!header.parseString(std::string(line)) || !header.getDocument().IsObject()) {
    throw Unusable("its first line is no header of a session");
  }
  const auto& number = memberOf(header.getDocument(), "sessionNumber");
  if (!number.IsInt64() || number.GetInt64() != session) {
    throw Unusable("its header is that of another session");
  }
}

std::string messageOf(const Standing& standing, std::uint64_t archive) {
  return R"({"session":)" + std::to_string(standing.session) + R"(,"lines":)" + std::to_string(standing.lines) +
         R"(,"ended":)" + (standing.ended ? "true" : "false") + R"(,"archive":)" + std::to_string(archive) + '}';
}

std::optional<std::uint64_t> archiveOf(std::string_view message) {
  rapidjson::Document document;
  document.Parse<rapidjson::kParseIterativeFlag>(message.data(), message.size());
  if (document.HasParseError()) return std::nullopt;
  const auto& archive = scoring::memberOf(document, "archive");
  return archive.IsUint64() ? std::optional(archive.GetUint64()) : std::nullopt;
}

}  // namespace BX::range
