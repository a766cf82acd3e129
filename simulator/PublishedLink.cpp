#include "simulator/PublishedLink.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>

namespace BX::sim {

namespace fs = std::filesystem;

namespace {

// Held while a name in the folder is looked at and changed, so that two processes do not both take it.
class FolderLock {
 public:
  explicit FolderLock(const fs::path& path)
      : folder_(::open(path.has_parent_path() ? path.parent_path().c_str() : ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    // A folder that may not be read is used without.
    if (folder_ >= 0) ::flock(folder_, LOCK_EX);
  }
  ~FolderLock() {
    if (folder_ >= 0) ::close(folder_);
  }
  FolderLock(const FolderLock&) = delete;
  FolderLock& operator=(const FolderLock&) = delete;

 private:
  int folder_;
};

// Inodes are used again, and the last change may be long ago: both together tell a link from another one.
bool isSame(const struct stat& a, const struct stat& b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino && a.st_ctim.tv_sec == b.st_ctim.tv_sec &&
         a.st_ctim.tv_nsec == b.st_ctim.tv_nsec;
}

// Throws unless nothing is at `path`, or a link to a terminal that is gone. A number that is given away again may have
// come to `own`.
void requireFree(const std::string& path, const std::string& own) {
  const fs::file_status status = fs::symlink_status(path);
  if (!fs::exists(status)) return;
  if (!fs::is_symlink(status)) throw std::runtime_error(path + ": exists and is no symbolic link");
  const std::string target = fs::read_symlink(path);
  if (!target.starts_with("/dev/pts/")) throw std::runtime_error(path + ": is a link to " + target + ", not bx-sim's");
  if (target != own && fs::exists(target)) {
    throw std::runtime_error(path + ": in use: a link to " + target + ", which is open");
  }
}

}  // namespace

PublishedLink::PublishedLink(std::string path, const std::string& terminal) : path_(std::move(path)) {
  const FolderLock lock(path_);
  // Renaming over the old link leaves no instant without one.
  const std::string fresh = path_ + "." + std::to_string(::getpid());
  try {
    requireFree(path_, terminal);
    fs::create_symlink(terminal, fresh);
    fs::rename(fresh, path_);
    ::lstat(path_.c_str(), &made_);
  } catch (const fs::filesystem_error& error) {
    std::error_code ignored;
    if (error.path2() == path_) fs::remove(fresh, ignored);
    throw std::runtime_error(path_ + ": " + error.code().message());
  }
}

PublishedLink::~PublishedLink() {
  const FolderLock lock(path_);
  struct stat found = {};
  if (::lstat(path_.c_str(), &found) != 0 || !isSame(found, made_)) return;
  std::error_code ignored;
  fs::remove(path_, ignored);
}

}  // namespace BX::sim
