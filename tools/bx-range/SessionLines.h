// Reads the lines of a session file by their number, while it grows.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace BX::range {

class SessionLines {
 public:
  // Throws platform::OutputError.
  explicit SessionLines(std::string path);
  ~SessionLines();
  SessionLines(const SessionLines&) = delete;
  SessionLines& operator=(const SessionLines&) = delete;

  // Reads on to the end, or to a line that is damaged: how many whole lines there are, and how long they are together.
  // A last line without its line feed is only cut.
  struct Extent {
    std::size_t lines = 0;
    std::uint64_t bytes = 0;
    bool isDamaged = false;  // the line after them
  };
  Extent scan();

  // Lines that have been written, each after a line feed of its own and with a comma between two: "\nA,\nB". Throws
  // platform::OutputError.
  std::string read(std::size_t first, std::size_t count);

 private:
  static constexpr std::size_t stride = 128;

  void moveTo(std::size_t line);
  // The next line, without its line feed; false at the end.
  bool next(std::string& line);
  bool fill();

  const std::string path_;
  int descriptor_ = -1;
  std::vector<std::uint64_t> marks_ = {0};  // where the lines 0, stride, 2 * stride... begin, as far as they were read
  std::size_t line_ = 0;                    // that is read next
  std::uint64_t position_ = 0;              // where it begins
  std::string buffer_;                      // the file from there on
  std::size_t used_ = 0;                    // of the buffer: lines that were read
};

}  // namespace BX::range
