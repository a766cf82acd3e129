#include "Records.h"

#include <array>
#include <cstdio>

#include "bx/DocumentKeys.h"
#include "morva/KeyedAccess.h"

namespace BX::tool {

namespace {

// Milliseconds need more than the 32 bits of KeyedAccess.h.
void setTime(Json& document, const char* key, Milliseconds time) {
  auto& root = document.getDocument();
  if (root.IsObject())
    root.AddMember(document.copyStringToValue(key), rapidjson::Value(time.count()), root.GetAllocator());
}

std::string seconds(Milliseconds time) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%.1f s", std::chrono::duration<double>(time).count());
  return text.data();
}

}  // namespace

bool isShot(const Json& record) {
  const auto& root = record.getDocument();
  return root.IsObject() && root.HasMember(key::record::shotNumber);
}

std::string counted(std::size_t count, const std::string& what) {
  return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

void setReceived(Json& record, Milliseconds time) { setTime(record, "received", time); }

Json gapBetween(Milliseconds from, Milliseconds to) {
  Json times;
  setTime(times, "from", from);
  setTime(times, "to", to);
  Json gap;
  MORVA::setDocument(gap, "gap", times);
  return gap;
}

std::string timeNow() {
  using namespace std::chrono;
  const auto now = floor<std::chrono::seconds>(system_clock::now());
  const auto midnight = floor<days>(now);
  const year_month_day date(midnight);
  const hh_mm_ss time(now - midnight);
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02dZ", int{date.year()}, unsigned{date.month()},
                unsigned{date.day()}, static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                static_cast<int>(time.seconds().count()));
  return text.data();
}

Records::Records(Console& console, const Output& output) try : console_(console), shotsOnly_(output.shotsOnly) {
  if (!output.path.empty()) file_.emplace(output.path, output.overwrite);
} catch (const platform::OutputError& error) {
  throw Failure(wrongUsage, error.what());
}

void Records::open() try {
  if (file_) file_->begin();
} catch (const platform::OutputError& error) {
  throw Failure(wrongUsage, error.what());
}

void Records::begin(const Json& header) {
  if (file_) write(header.toString());
}

bool Records::add(Json record, std::optional<Milliseconds> received) {
  const bool shot = isShot(record);
  if (file_ && received) setReceived(record, *received);
  const bool isLeftOut = !file_ && !shot && shotsOnly_;
  if (!(isLeftOut ? console_.isRead() : write(record.toString()))) return false;
  ++count_;
  if (shot) ++shots_;
  return true;
}

void Records::addGap(Milliseconds from, Milliseconds to) {
  ++gaps_;
  missing_ = missing_.load() + (to - from);
  if (!file_) return;
  write(gapBetween(from, to).toString());
}

std::string Records::summary() const {
  std::string text = counted(count_, "record") + ", " + counted(shots_, "shot");
  if (file_) text += " in " + file_->path();
  if (gaps_ == 1) text += "; a gap of " + seconds(missing_);
  if (gaps_ > 1) text += "; " + counted(gaps_, "gap") + " of " + seconds(missing_) + " in all";
  return text;
}

std::string Records::kept() const { return "; kept " + summary(); }

bool Records::write(const std::string& line) {
  try {
    if (!file_) return console_.data(line);
    file_->add(validUtf8(line));
    return true;
  } catch (const std::runtime_error& error) {
    throw Failure(deviceFailed, error.what() + kept());
  }
}

}  // namespace BX::tool
