#include "platform/OutputFile.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

namespace BX::platform {

namespace {

constexpr mode_t permissions = 0666;  // as far as the user's mask allows

}  // namespace

int writeAll(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = ::write(descriptor, text.data(), text.size());
    if (written >= 0) {
      text.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno == EAGAIN) {  // whoever shares the descriptor may have made it return at once
      pollfd ready = {descriptor, POLLOUT, 0};
      ::poll(&ready, 1, -1);
    } else if (errno != EINTR) {
      return errno;
    }
  }
  return 0;
}

OutputFile::OutputFile(std::string path, bool overwrite) : path_(std::move(path)), overwrite_(overwrite) {
  struct stat file = {};
  if (::stat(path_.c_str(), &file) == 0) {
    if (S_ISDIR(file.st_mode)) errno = EISDIR;
    require(!S_ISDIR(file.st_mode));
    requireReplaceable(S_ISREG(file.st_mode), file.st_size);
    require(::access(path_.c_str(), W_OK) == 0);
    return;
  }
  require(errno == ENOENT);
  const auto folder = std::filesystem::path(path_).parent_path();
  require(::access(folder.empty() ? "." : folder.c_str(), W_OK | X_OK) == 0);
}

OutputFile::~OutputFile() {
  if (handle_ >= 0) ::close(handle_);
}

void OutputFile::begin() {
  // Without waiting: a pipe that nobody reads is refused.
  handle_ = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_NOCTTY | O_NONBLOCK | O_CLOEXEC, permissions);
  require(handle_ >= 0);
  try {
    lockAndEmpty();
  } catch (...) {
    ::close(std::exchange(handle_, -1));
    throw;
  }
}

void OutputFile::lockAndEmpty() {
  struct stat file = {};
  require(::fstat(handle_, &file) == 0);
  isRegular_ = S_ISREG(file.st_mode);
  if (!isRegular_) return;
  // A file system without locks is used without.
  if (::flock(handle_, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
    throw OutputError(path_, "open", EBUSY, "in use by another program");
  }
  require(::fstat(handle_, &file) == 0);
  requireReplaceable(isRegular_, file.st_size);
  require(::ftruncate(handle_, 0) == 0);
}

void OutputFile::add(std::string_view line) {
  const std::string text = std::string(line) + '\n';
  if (const int code = writeAll(handle_, text); code != 0) {
    if (isRegular_ && ::ftruncate(handle_, size_) != 0) isRegular_ = false;
    throw OutputError(path_, "write", code, std::generic_category().message(code));
  }
  size_ += static_cast<std::int64_t>(text.size());
}

void OutputFile::require(bool holds) const {
  const int code = errno;
  if (!holds) throw OutputError(path_, "open", code, std::generic_category().message(code));
}

void OutputFile::requireReplaceable(bool isRegular, std::int64_t size) const {
  if (!isRegular || size == 0 || overwrite_) return;
  throw OutputError(path_, "open", EEXIST, "exists and is not empty (--overwrite replaces it)");
}

}  // namespace BX::platform
