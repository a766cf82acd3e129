#include "platform/OutputFile.h"

#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

#include "platform/Descriptors.h"
#include "platform/Utf8.h"

namespace BX::platform {

namespace fs = std::filesystem;

OutputFile::OutputFile(std::string path, bool overwrite) : path_(std::move(path)), overwrite_(overwrite) {
  std::error_code error;
  const fs::path file = pathOf(path_);
  const auto status = fs::status(file, error);
  if (fs::exists(status)) {
    require(fs::is_directory(status) ? EISDIR : 0);
    if (fs::is_regular_file(status)) requireReplaceable(static_cast<std::int64_t>(fs::file_size(file, error)));
    require(checkMayWrite(file, false));
    return;
  }
  if (error && error != std::errc::no_such_file_or_directory) require(error.default_error_condition().value());
  const fs::path folder = file.parent_path();
  require(checkMayWrite(folder.empty() ? fs::path(".") : folder, true));
}

OutputFile::~OutputFile() {
  if (handle_ >= 0) closeDescriptor(handle_);
}

void OutputFile::begin() {
  handle_ = openToAppend(pathOf(path_));
  require(handle_ < 0 ? errno : 0);
  try {
    empty();
  } catch (...) {
    closeDescriptor(std::exchange(handle_, -1));
    throw;
  }
}

void OutputFile::empty() {
  const auto size = sizeOf(handle_);
  isRegular_ = size.has_value();
  if (!size) return;
  requireReplaceable(*size);
  require(cutTo(handle_, 0));
}

void OutputFile::add(std::string_view line) {
  const std::string text = std::string(line) + '\n';
  if (const int code = writeAll(handle_, text); code != 0) {
    if (isRegular_ && cutTo(handle_, size_) != 0) isRegular_ = false;
    throw OutputError(path_, "write", code, std::generic_category().message(code));
  }
  size_ += static_cast<std::int64_t>(text.size());
}

void OutputFile::require(int code) const {
  if (code == 0) return;
  throw OutputError(path_, "open", code,
                    code == EBUSY ? "in use by another program" : std::generic_category().message(code));
}

void OutputFile::requireReplaceable(std::int64_t size) const {
  if (size == 0 || overwrite_) return;
  throw OutputError(path_, "open", EEXIST, "exists and is not empty (--overwrite replaces it)");
}

}  // namespace BX::platform
