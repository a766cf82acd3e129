#include "simulator/PublishedLink.h"

#include <unistd.h>

#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace BX::sim {

namespace fs = std::filesystem;

PublishedLink::PublishedLink(std::string path, std::string target)
    : path_(std::move(path)), target_(std::move(target)) {
  const fs::file_status status = fs::symlink_status(path_);
  if (fs::exists(status) && !fs::is_symlink(status)) {
    throw std::runtime_error(path_ + ": exists and is no symbolic link");
  }
  // Renaming over the old link leaves no instant without one.
  const std::string fresh = path_ + "." + std::to_string(::getpid());
  try {
    fs::create_symlink(target_, fresh);
    fs::rename(fresh, path_);
  } catch (const fs::filesystem_error& error) {
    std::error_code ignored;
    fs::remove(fresh, ignored);
    throw std::runtime_error(path_ + ": " + error.code().message());
  }
}

PublishedLink::~PublishedLink() {
  std::error_code error;
  if (fs::read_symlink(path_, error) == target_ && !error) fs::remove(path_, error);
}

}  // namespace BX::sim
