// Where `train` and `download` put their records: standard output, or a session file.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <optional>
#include <string>

#include "Console.h"
#include "morva/MORVADataTypeJSON.h"
#include "platform/OutputFile.h"

namespace BX::tool {

using Json = MORVA::MORVADataTypeJSON;
using Milliseconds = std::chrono::milliseconds;

// A shot has a number; a measurement has none.
bool isShot(const Json& record);

// "1 record", "2 records".
std::string counted(std::size_t count, const std::string& what);

// Since the start of the session, as its file tells it.
void setReceived(Json& record, Milliseconds time);

// The line of a session file for a time in which something may have been missed.
Json gapBetween(Milliseconds from, Milliseconds to);

// The time now, as ISO 8601 in UTC.
std::string timeNow();

struct Output {
  std::string path = {};  // empty: standard output
  bool overwrite = false;
  bool shotsOnly = false;  // on standard output
};

// Used by one thread at a time, but for the summary.
class Records {
 public:
  // Throws Failure when the session file could not be begun; makes and changes nothing.
  Records(Console& console, const Output& output);

  // Makes the session file, empty, and locks it. Throws Failure.
  void open();
  // The first line of the session file; standard output gets none. Throws Failure.
  void begin(const Json& header);
  // One line. False when nobody reads standard output any more; throws Failure when it cannot be written.
  bool add(Json record, std::optional<Milliseconds> received = {});
  // Between these times nothing may have been received. A line of the session file.
  void addGap(Milliseconds from, Milliseconds to);

  std::size_t count() const { return count_; }
  // What was written, or left out as was asked for: "12 records, 3 shots in FILE; a gap of 1.5 s". Any thread.
  std::string summary() const;
  // "; kept 12 records, ...", for the end of a failure's text.
  std::string kept() const;

 private:
  bool write(const std::string& line);

  Console& console_;
  const bool shotsOnly_;
  std::optional<platform::OutputFile> file_;
  std::atomic<std::size_t> count_ = 0;
  std::atomic<std::size_t> shots_ = 0;
  std::atomic<std::size_t> gaps_ = 0;
  std::atomic<Milliseconds> missing_ = Milliseconds(0);
};

}  // namespace BX::tool
