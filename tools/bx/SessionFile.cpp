#include "SessionFile.h"

#include <rapidjson/memorystream.h>

#include <cerrno>
#include <charconv>
#include <fstream>
#include <memory>
#include <system_error>
#include <vector>

#include "InputFile.h"
#include "Records.h"

namespace BX::tool {

namespace {

constexpr std::size_t longestLine = std::size_t{16} << 20;  // the largest document, too

// A document that reads its numbers as exactly as the library does, and takes those that no double holds for null.
class Line : public rapidjson::Document {
 public:
  explicit Line(const std::string& text) : stream_(text.data(), text.size()) { Populate(*this); }

  const rapidjson::ParseResult& result() const { return result_; }

  // Called by Populate.
  bool operator()(rapidjson::Document& /*this*/) {
    constexpr unsigned flags =
        rapidjson::kParseNumbersAsStringsFlag | rapidjson::kParseIterativeFlag | rapidjson::kParseValidateEncodingFlag;
    result_ = rapidjson::Reader().Parse<flags>(stream_, *this);
    return !result_.IsError();
  }

  // The reader's events come here; all but this one the document takes itself.
  bool RawNumber(const char* text, rapidjson::SizeType length,
                 bool /*copy*/) {  // NOLINT(readability-identifier-naming)
    const char* const end = text + length;
    std::int64_t integer = 0;
    if (const auto read = std::from_chars(text, end, integer); read.ec == std::errc() && read.ptr == end) {
      return Int64(integer);
    }
    double number = 0;
    return std::from_chars(text, end, number).ec == std::errc() ? Double(number) : Null();
  }

 private:
  rapidjson::MemoryStream stream_;
  rapidjson::ParseResult result_;
};

// Nothing when the text is no JSON.
std::unique_ptr<Line> documentOn(std::string text) {
  constexpr int mostRepairs = 100;
  for (int i = 0; i < mostRepairs; ++i) {
    auto line = std::make_unique<Line>(text);
    if (!line->result().IsError()) return line;
    if (line->result().Code() != rapidjson::kParseErrorNumberTooBig) break;
    const std::size_t at = line->result().Offset();
    text.replace(at, text.find_first_not_of("+-.eE0123456789", at) - at, "null");
  }
  return nullptr;
}

class LineReader {
 public:
  explicit LineReader(const std::string& path) : path_(path), file_(openInput(path)), buffer_(longestLine) {
    if (!file_) refuse(errno);
  }

  bool next(std::string& line) {
    errno = 0;
    file_.getline(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
    ++number_;
    if (errno != 0) refuse(errno);  // a folder opens, and fails at the first byte
    const auto length = static_cast<std::size_t>(file_.gcount());
    if (file_.fail() && length > 0) throw Failure(wrongUsage, place() + ": longer than 16 MiB");
    if (file_.fail()) return false;
    line.assign(buffer_.data(), file_.eof() ? length : length - 1);
    return true;
  }

  std::string place() const { return path_ + ": line " + std::to_string(number_); }

 private:
  [[noreturn]] void refuse(int code) const {
    throw Failure(wrongUsage, path_ + ": read: " + std::generic_category().message(code));
  }

  const std::string& path_;
  std::ifstream file_;
  std::vector<char> buffer_;
  std::size_t number_ = 0;
};

bool isHeader(const Line* line) {
  return line != nullptr && line->IsObject() && line->HasMember("start") && line->HasMember("target");
}

}  // namespace

scoring::Session readSession(Tool& tool, const std::string& path) {
  LineReader reader(path);
  std::string text;
  if (!reader.next(text)) throw Failure(wrongUsage, path + ": no session file: it is empty");
  const auto header = documentOn(text);
  if (!isHeader(header.get())) {
    throw Failure(wrongUsage, path + ": no session file: its first line is not the header of one");
  }
  scoring::Session session(*header);
  std::size_t unreadable = 0;
  std::string first;
  while (reader.next(text)) {
    if (const auto record = documentOn(text)) {
      session.add(*record);
    } else if (++unreadable == 1) {
      first = reader.place();
    }
  }
  if (unreadable > 0) tool.console.warning(first + ": not JSON; " + counted(unreadable, "line") + " left out");
  return session;
}

}  // namespace BX::tool
