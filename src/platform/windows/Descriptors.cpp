#include "platform/Descriptors.h"

#include <fcntl.h>
#include <io.h>
#include <share.h>
#include <sys/stat.h>
#include <windows.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>

namespace BX::platform {

// The numbers 0, 1 and 2 are nobody else's here.
void prepareStandardDescriptors() {
  for (const int descriptor : {0, 1, 2}) _setmode(descriptor, _O_BINARY);  // else a line feed becomes two bytes
}

int writeAll(int descriptor, std::string_view text) {
  constexpr std::size_t most = 16'384;  // consoles take no more than some of it at a time
  while (!text.empty()) {
    const int written = _write(descriptor, text.data(), static_cast<unsigned>(std::min(text.size(), most)));
    if (written < 0) return GetLastError() == ERROR_PIPE_NOT_CONNECTED ? EPIPE : errno;
    text.remove_prefix(static_cast<std::size_t>(written));
  }
  return 0;
}

int checkMayWrite(const std::filesystem::path& path, bool) {
  constexpr int writing = 2;
  return _waccess(path.c_str(), writing) == 0 ? 0 : errno;
}

int openToAppend(const std::filesystem::path& path) {
  const int flags = _O_WRONLY | _O_CREAT | _O_APPEND | _O_BINARY | _O_NOINHERIT;
  int descriptor = -1;
  _doserrno = 0;
  // Others may read it meanwhile.
  const int code = _wsopen_s(&descriptor, path.c_str(), flags, _SH_DENYWR, _S_IREAD | _S_IWRITE);
  errno = _doserrno == ERROR_SHARING_VIOLATION ? EBUSY : code;
  return code == 0 ? descriptor : -1;
}

std::optional<std::int64_t> sizeOf(int descriptor) {
  struct _stat64 file = {};
  if (_fstat64(descriptor, &file) != 0 || (file.st_mode & _S_IFMT) != _S_IFREG) return std::nullopt;
  return file.st_size;
}

int cutTo(int descriptor, std::int64_t size) { return _chsize_s(descriptor, size); }

void closeDescriptor(int descriptor) { _close(descriptor); }

}  // namespace BX::platform
