// Where `train` and `download` put their records: standard output, or a session file.
#pragma once

#include <cstddef>
#include <fstream>
#include <string>

#include "Console.h"
#include "morva/MORVADataTypeJSON.h"

namespace BX::tool {

using Json = MORVA::MORVADataTypeJSON;

// A shot has a number; a measurement has none.
bool isShot(const Json& record);

// The time now, as ISO 8601 in UTC.
std::string timeNow();

class Records {
 public:
  // Standard output when `path` is empty; else the file, which must be writable and stays as it is until begin.
  // Throws Failure.
  Records(Console& console, std::string path);
  // Removes a file that was made here and never begun.
  ~Records();
  Records(const Records&) = delete;
  Records& operator=(const Records&) = delete;

  // Makes `header` the first line of the session file; standard output gets none.
  void begin(const Json& header);
  // One line, flushed. False when nobody reads standard output any more.
  bool add(const Json& record);

  std::size_t count() const { return count_; }
  std::size_t shots() const { return shots_; }
  // "12 records, 3 shots", and where they went.
  std::string summary() const;

 private:
  bool write(const std::string& line);

  Console& console_;
  std::string path_;
  std::ofstream file_;
  bool isNew_ = false;
  std::size_t count_ = 0;
  std::size_t shots_ = 0;
};

}  // namespace BX::tool
