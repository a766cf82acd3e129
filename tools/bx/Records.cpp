#include "Records.h"

#include <array>
#include <cerrno>
#include <ctime>
#include <filesystem>
#include <system_error>

#include "bx/DocumentKeys.h"

namespace BX::tool {

namespace {

std::string systemReason() { return std::generic_category().message(errno); }

}  // namespace

bool isShot(const Json& record) {
  const auto& root = record.getDocument();
  return root.IsObject() && root.HasMember(key::record::shotNumber);
}

std::string timeNow() {
  const std::time_t now = std::time(nullptr);
  std::tm parts = {};
  gmtime_r(&now, &parts);
  std::array<char, 32> text{};
  const std::size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts);
  return {text.data(), length};
}

Records::Records(Console& console, std::string path) : console_(console), path_(std::move(path)) {
  if (path_.empty()) return;
  std::error_code error;
  isNew_ = !std::filesystem::exists(path_, error);
  file_.open(path_, std::ios::app);
  if (!file_) throw Failure(wrongUsage, path_ + ": open: " + systemReason());
}

Records::~Records() {
  std::error_code error;
  if (isNew_) std::filesystem::remove(path_, error);
}

void Records::begin(const Json& header) {
  if (path_.empty()) return;
  isNew_ = false;
  file_.close();
  file_.open(path_, std::ios::trunc);
  write(header.toString());
}

bool Records::add(const Json& record) {
  ++count_;
  if (isShot(record)) ++shots_;
  return write(record.toString());
}

std::string Records::summary() const {
  const auto counted = [](std::size_t count, const std::string& what) {
    return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
  };
  return counted(count_, "record") + ", " + counted(shots_, "shot") + (path_.empty() ? "" : " in " + path_);
}

bool Records::write(const std::string& line) {
  if (path_.empty()) return console_.data(line);
  file_ << validUtf8(line) << '\n' << std::flush;
  if (!file_) throw Failure(deviceFailed, path_ + ": write: " + systemReason());
  return true;
}

}  // namespace BX::tool
