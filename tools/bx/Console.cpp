#include "Console.h"

#include <unistd.h>

#include <algorithm>
#include <boost/nowide/utf/utf.hpp>
#include <cerrno>
#include <csignal>
#include <iostream>
#include <string_view>
#include <system_error>

namespace BX::tool {

std::string validUtf8(const std::string& text) {
  namespace utf = boost::nowide::utf;
  constexpr std::string_view replacement = "\xEF\xBF\xBD";
  std::string valid;
  const char* const end = text.data() + text.size();
  for (const char* at = text.data(); at != end;) {
    const char* next = at;
    const auto character = utf::utf_traits<char>::decode(next, end);
    if (character == utf::illegal || character == utf::incomplete) {
      valid += replacement;
      ++at;  // this byte only: the next one may be a quotation mark
    } else {
      valid.append(at, next);
      at = next;
    }
  }
  return valid;
}

Console::Console()
    : outBuffer_(std::cout.rdbuf(&discard_)),
      errBuffer_(std::cerr.rdbuf(&discard_)),
      out_(outBuffer_),
      err_(errBuffer_) {
  // A reader that goes away is seen when writing fails.
  std::signal(SIGPIPE, SIG_IGN);
}

Console::~Console() {
  std::cout.rdbuf(outBuffer_);
  std::cerr.rdbuf(errBuffer_);
}

void Console::showLibrary() {
  std::cout.rdbuf(errBuffer_);
  std::cerr.rdbuf(errBuffer_);
}

bool Console::data(const std::string& line) {
  if (!out_) return false;
  errno = 0;
  out_ << validUtf8(line) << '\n' << std::flush;
  if (out_) return true;
  if (errno == EPIPE) return false;
  throw Failure(deviceFailed, "standard output: write: " + std::generic_category().message(errno));
}

void Console::error(const std::string& text) { line("bx: " + text); }

void Console::warning(const std::string& text) {
  if (!quiet_) line("bx: warning: " + text);
}

void Console::note(const std::string& text) {
  if (!quiet_) err_ << text << std::endl;
}

bool Console::drawsProgress() const { return !quiet_ && isatty(STDERR_FILENO) == 1; }

void Console::progress(const std::string& text) { err_ << "\r\x1b[K" << text << std::flush; }

void Console::line(const std::string& text) {
  std::string oneLine = text;
  std::replace_if(
      oneLine.begin(), oneLine.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
  err_ << oneLine << std::endl;
}

}  // namespace BX::tool
