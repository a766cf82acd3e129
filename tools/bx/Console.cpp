#include "Console.h"

#include <algorithm>
#include <cerrno>
#include <iostream>
#include <string_view>
#include <system_error>
#include <utility>

#include "System.h"
#include "platform/Descriptors.h"

namespace BX::tool {

namespace {

constexpr std::string_view wipeLine = "\r\x1b[K";

// A line that wraps could not be drawn over.
std::string cutToTerminal(std::string text) {
  const std::size_t width = system::terminalWidth();
  if (width != 0 && text.size() >= width) text.resize(width - 1);
  return text;
}

}  // namespace

Console::Console(std::string program)
    : program_(std::move(program)),
      outBuffer_(std::cout.rdbuf(&discard_)),
      errBuffer_(std::cerr.rdbuf(&discard_)),
      isTerminal_(system::isTerminal(system::standardOutput)),
      err_(errBuffer_) {
  system::prepareStreams();
}

Console::~Console() {
  std::cout.rdbuf(outBuffer_);
  std::cerr.rdbuf(errBuffer_);
}

void Console::showLibrary() {
  std::cout.rdbuf(&library_);
  std::cerr.rdbuf(&library_);
}

Console::LibraryLines::int_type Console::LibraryLines::overflow(int_type c) {
  const char character = traits_type::to_char_type(c);
  if (!traits_type::eq_int_type(c, traits_type::eof())) xsputn(&character, 1);
  return traits_type::not_eof(c);
}

// Several threads of the library write.
std::streamsize Console::LibraryLines::xsputn(const char* text, std::streamsize count) {
  const platform::MutexLock lock(console_.mutex_);
  begun_.append(text, static_cast<std::size_t>(count));
  const std::size_t end = begun_.rfind('\n') + 1;  // 0 without a line feed
  console_.err_ << platform::printable(begun_.substr(0, end)) << std::flush;
  begun_.erase(0, end);
  return count;
}

bool Console::data(const std::string& line) {
  if (!isRead_) return false;
  const int code =
      platform::writeAll(system::standardOutput, (isTerminal_ ? platform::printable(line) : validUtf8(line)) + '\n');
  isRead_ = code != EPIPE;
  if (code == 0 || !isRead_) return isRead_;
  throw Failure(deviceFailed, "standard output: write: " + std::generic_category().message(code));
}

bool Console::isRead() {
  isRead_ = isRead_ && system::isOutputRead();
  return isRead_;
}

void Console::error(const std::string& text) { line(program_ + ": " + text); }

void Console::warning(const std::string& text) {
  if (!quiet_) line(program_ + ": warning: " + text);
}

void Console::note(const std::string& text) {
  if (!quiet_) line(text);
}

bool Console::drawsProgress() const { return !quiet_ && !still_ && system::isTerminal(system::standardError); }

void Console::progress(const std::string& text) {
  const platform::MutexLock lock(mutex_);
  err_ << wipeLine << cutToTerminal(platform::printable(text)) << std::flush;
  showsProgress_ = !text.empty();
}

void Console::line(const std::string& text) {
  std::string oneLine = platform::printable(text);
  std::replace(oneLine.begin(), oneLine.end(), '\n', ' ');
  const platform::MutexLock lock(mutex_);
  if (std::exchange(showsProgress_, false)) err_ << wipeLine;
  err_ << oneLine << std::endl;
}

}  // namespace BX::tool
