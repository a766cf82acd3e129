#include "SessionLines.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>

#include "platform/OutputFile.h"

namespace BX::range {

namespace {

[[noreturn]] void throwReadError(const std::string& path, const std::string& step) {
  const int code = errno;
  throw platform::OutputError(path, step, code, std::generic_category().message(code));
}

// A JSON object on one line, as far as that is seen at once.
bool isWhole(const std::string& line) {
  const auto isControl = [](unsigned char c) { return c < 0x20; };
  return line.size() >= 2 && line.front() == '{' && line.back() == '}' &&
         std::none_of(line.begin(), line.end(), isControl);
}

}  // namespace

SessionLines::SessionLines(std::string path)
    : path_(std::move(path)), descriptor_(::open(path_.c_str(), O_RDONLY | O_CLOEXEC)) {
  if (descriptor_ < 0) throwReadError(path_, "open");
}

SessionLines::~SessionLines() { ::close(descriptor_); }

SessionLines::Extent SessionLines::scan() {
  Extent extent;
  moveTo(0);
  for (std::string line; !extent.isDamaged && next(line);) {
    if (isWhole(line)) {
      extent = {line_, position_};
    } else {
      extent.isDamaged = true;
    }
  }
  moveTo(0);
  return extent;
}

std::string SessionLines::read(std::size_t first, std::size_t count) {
  if (first != line_) moveTo(first);
  std::string text;
  std::string line;
  for (std::size_t i = 0; i < count; ++i) {
    if (!next(line)) throw platform::OutputError(path_, "read", 0, "has fewer lines than before");
    text += (i == 0 ? "\n" : ",\n") + line;
  }
  return text;
}

void SessionLines::moveTo(std::size_t line) {
  const std::size_t mark = std::min(line / stride, marks_.size() - 1);
  line_ = mark * stride;
  position_ = marks_[mark];
  buffer_.clear();
  used_ = 0;
  for (std::string passed; line_ < line && next(passed);) {
  }
}

bool SessionLines::next(std::string& line) {
  std::size_t end = 0;
  for (std::size_t searched = 0; (end = buffer_.find('\n', used_ + searched)) == std::string::npos;) {
    searched = buffer_.size() - used_;
    if (!fill()) return false;
  }
  line.assign(buffer_, used_, end - used_);
  position_ += end + 1 - used_;
  used_ = end + 1;
  ++line_;
  if (line_ == marks_.size() * stride) marks_.push_back(position_);
  return true;
}

bool SessionLines::fill() {
  buffer_.erase(0, used_);
  used_ = 0;
  std::array<char, 32768> block;
  const auto offset = static_cast<off_t>(position_ + buffer_.size());
  const ssize_t count = ::pread(descriptor_, block.data(), block.size(), offset);
  if (count < 0) throwReadError(path_, "read");
  buffer_.append(block.data(), static_cast<std::size_t>(count));
  return count > 0;
}

}  // namespace BX::range
