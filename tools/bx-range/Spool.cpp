#include "Spool.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <set>
#include <string_view>
#include <system_error>
#include <tuple>
#include <utility>

#include "RecordsMessage.h"
#include "SessionLines.h"
#include "Topics.h"
#include "platform/Descriptors.h"
#include "platform/OutputFile.h"

namespace BX::range {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view suffix = ".jsonl";

[[noreturn]] void throwSpoolError(const std::string& path, const std::string& step, const std::error_code& error) {
  throw platform::OutputError(path, step, error.value(), error.message());
}

// Nothing for a file of another name.
std::optional<SpooledSession> sessionOf(const std::string& name) {
  if (!name.ends_with(suffix)) return std::nullopt;
  const std::string stem = name.substr(0, name.size() - suffix.size());
  const auto last = stem.rfind('_');
  const auto middle = last == std::string::npos || last == 0 ? std::string::npos : stem.rfind('_', last - 1);
  if (middle == std::string::npos) return std::nullopt;
  SpooledSession session{stem.substr(0, middle), name, 0, 0};
  const char* const end = stem.data() + stem.size();
  const auto read = std::from_chars(stem.data() + last + 1, end, session.number);
  if (read.ec != std::errc() || read.ptr != end || !isName(session.lane)) return std::nullopt;
  const bool isNumber = session.number > 0 && session.number <= highestSessionNumber;
  return isNumber ? std::optional(session) : std::nullopt;
}

std::vector<SpooledSession> sessionsIn(const std::string& folder) {
  std::vector<SpooledSession> sessions;
  std::error_code error;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
    std::error_code ignored;
    auto session = sessionOf(entry->path().filename().string());
    if (session && entry->is_regular_file(ignored)) sessions.push_back(std::move(*session));
  }
  if (error) throwSpoolError(folder, "read", error);
  const auto byName = [](const auto& session) { return std::tie(session.lane, session.name); };
  std::sort(sessions.begin(), sessions.end(), [&](const auto& a, const auto& b) { return byName(a) < byName(b); });
  return sessions;
}

[[noreturn]] void moveAside(const std::string& path, const std::string& reason) {
  std::error_code error;
  std::string place = path + ".damaged";
  for (int i = 2; fs::exists(place, error); ++i) place = path + ".damaged" + std::to_string(i);
  fs::rename(path, place, error);
  if (error) throwSpoolError(path, "put aside", error);
  throw platform::OutputError(place, "put aside", 0, reason);
}

// How many lines the session has, without one that a crash cut; a file that has none is removed. Throws
// platform::OutputError: one that is damaged is put aside.
std::size_t linesOf(const std::string& path, SessionNumber number) {
  SessionLines file(path);
  const auto extent = file.scan();
  if (extent.isDamaged) moveAside(path, "line " + std::to_string(extent.lines + 1) + " is damaged");
  std::error_code error;
  if (extent.lines == 0) {
    fs::remove(path, error);
  } else if (fs::file_size(path, error) != extent.bytes && !error) {
    fs::resize_file(path, extent.bytes, error);
  }
  if (error) throwSpoolError(path, "cut", error);
  if (extent.lines == 0) return 0;
  try {
    requireHeader(file.read(0, 1).substr(1), static_cast<std::int64_t>(number));
  } catch (const Unusable& problem) {
    moveAside(path, problem.what());
  }
  return extent.lines;
}

}  // namespace

std::string sessionFileName(const std::string& lane, const std::string& start, SessionNumber number) {
  std::string time = start;
  std::erase_if(time, [](char c) { return c == '-' || c == ':'; });
  return lane + '_' + time + '_' + std::to_string(number) + std::string(suffix);
}

Spool::Spool(std::string folder) : folder_(std::move(folder)) {
  std::error_code error;
  fs::create_directories(folder_ + "/done", error);
  if (error) throwSpoolError(folder_, "make", error);
  const std::string path = folder_ + "/lock";
  lock_ = platform::openToAppend(path);
  if (lock_ >= 0) return;
  const int code = errno;
  throw platform::OutputError(folder_, "lock", code,
                              code == EBUSY ? "in use by another gate" : std::generic_category().message(code));
}

Spool::~Spool() { platform::closeDescriptor(lock_); }

std::vector<SpooledSession> Spool::recover(const std::string& owner,
                                           const std::function<void(const std::string&)>& complain) const {
  auto found = sessionsIn(folder_);
  claim(owner, found.empty());
  std::vector<SpooledSession> sessions;
  std::set<SessionNumber> numbers;
  for (auto& session : found) {
    const std::string path = pathOf(session.name);
    try {
      session.lines = linesOf(path, session.number);
      if (session.lines == 0) continue;
      if (!numbers.insert(session.number).second) moveAside(path, "another file is of the same session");
      sessions.push_back(std::move(session));
    } catch (const platform::OutputError& error) {
      complain(error.what());
    }
  }
  return sessions;
}

// Under another name its sessions would be archived a second time.
void Spool::claim(const std::string& owner, bool isFree) const {
  const std::string path = folder_ + "/owner";
  std::string before;
  std::getline(std::ifstream(path), before);
  if (before == owner) return;
  if (!isFree && !before.empty()) {
    throw platform::OutputError(
        folder_, "use", 0,
        "sessions of " + before + " wait in it: let the gate of that name send them, or take another folder");
  }
  // A power cut leaves the one before, or this one.
  const std::string next = path + ".new";
  errno = EIO;
  if (!(std::ofstream(next) << owner << '\n' << std::flush))
    throwSpoolError(next, "write", {errno, std::generic_category()});
  std::error_code error;
  fs::rename(next, path, error);
  if (error) throwSpoolError(path, "write", error);
}

bool Spool::hasLost(const std::string& name) const {
  std::error_code error;
  return fs::exists(folder_ + "/lock", error) && fs::status(pathOf(name), error).type() == fs::file_type::not_found;
}

void Spool::finish(const std::string& name) const {
  std::error_code error;
  fs::rename(pathOf(name), donePath(name), error);
  if (error) throwSpoolError(pathOf(name), "move", error);
}

void Spool::putAside(const std::string& name, const std::string& reason) const { moveAside(pathOf(name), reason); }

std::optional<SpooledSession> Spool::recall(const std::string& lane, SessionNumber number) const {
  for (auto& session : sessionsIn(folder_ + "/done")) {
    if (session.lane != lane || session.number != number) continue;
    session.lines = linesOf(donePath(session.name), number);
    if (session.lines == 0) continue;
    std::error_code error;
    fs::rename(donePath(session.name), pathOf(session.name), error);
    if (error) throwSpoolError(donePath(session.name), "move", error);
    return session;
  }
  return std::nullopt;
}

void Spool::prune(std::chrono::hours age) const {
  for (const auto& session : sessionsIn(folder_ + "/done")) {
    std::error_code error;
    const auto written = fs::last_write_time(donePath(session.name), error);
    if (!error && fs::file_time_type::clock::now() - written >= age) fs::remove(donePath(session.name), error);
  }
}

}  // namespace BX::range
