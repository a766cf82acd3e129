#include "platform/Descriptors.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace BX::platform {

namespace {

constexpr mode_t permissions = 0666;  // as far as the user's mask allows

}  // namespace

void prepareStandardDescriptors() {
  // Opened the wrong way round, so that it fails as a closed one does: lost data are told.
  for (const auto& [descriptor, flags] :
       {std::pair{STDIN_FILENO, O_WRONLY}, std::pair{STDOUT_FILENO, O_RDONLY}, std::pair{STDERR_FILENO, O_WRONLY}}) {
    // The lowest free number is the one that is missing: those below it are there.
    if (::fcntl(descriptor, F_GETFD) < 0 && errno == EBADF) ::open("/dev/null", flags);
  }
}

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

int checkMayWrite(const std::filesystem::path& path, bool isFolder) {
  return ::access(path.c_str(), isFolder ? W_OK | X_OK : W_OK) == 0 ? 0 : errno;
}

int openToAppend(const std::filesystem::path& path) {
  // Without waiting: a pipe that nobody reads is refused.
  const int flags = O_WRONLY | O_CREAT | O_APPEND | O_NOCTTY | O_NONBLOCK | O_CLOEXEC;
  const int descriptor = ::open(path.c_str(), flags, permissions);
  if (descriptor < 0 || !sizeOf(descriptor)) return descriptor;
  // A file system without locks is used without.
  if (::flock(descriptor, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK) return descriptor;
  ::close(descriptor);
  errno = EBUSY;
  return -1;
}

std::optional<std::int64_t> sizeOf(int descriptor) {
  struct stat file = {};
  if (::fstat(descriptor, &file) != 0 || !S_ISREG(file.st_mode)) return std::nullopt;
  return file.st_size;
}

int cutTo(int descriptor, std::int64_t size) { return ::ftruncate(descriptor, size) == 0 ? 0 : errno; }

void closeDescriptor(int descriptor) { ::close(descriptor); }

}  // namespace BX::platform
