#include "platform/StandardDescriptors.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace BX::platform {

void ensureStandardDescriptors() {
  // Opened the wrong way round, so that it fails as a closed one does: lost data are told.
  for (const auto& [descriptor, flags] :
       {std::pair{STDIN_FILENO, O_WRONLY}, std::pair{STDOUT_FILENO, O_RDONLY}, std::pair{STDERR_FILENO, O_WRONLY}}) {
    // The lowest free number is the one that is missing: those below it are there.
    if (::fcntl(descriptor, F_GETFD) < 0 && errno == EBADF) ::open("/dev/null", flags);
  }
}

}  // namespace BX::platform
