// A file that lines are written to. It never takes the place of another one's content, is never written by two
// programs, and holds whole lines, also when the disk is full.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace BX::platform {

// The text is one line: path, step and reason.
class OutputError : public std::runtime_error {
 public:
  OutputError(const std::string& path, const std::string& step, int code, const std::string& reason)
      : std::runtime_error(path + ": " + step + ": " + reason), code_(code), reason_(reason) {}
  // Of errno; EEXIST when there is something that is not replaced, EBUSY when another program writes the file.
  int code() const { return code_; }
  const std::string& reason() const { return reason_; }

 private:
  int code_;
  std::string reason_;
};

class OutputFile {
 public:
  // Changes nothing: throws OutputError when begin() could not but fail. A regular file that is not empty is refused
  // unless `overwrite`.
  OutputFile(std::string path, bool overwrite);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // Makes the file or empties it, and locks it until this object goes, where the file system has locks. Throws
  // OutputError, also for a pipe that nobody reads.
  void begin();
  bool isBegun() const { return handle_ >= 0; }
  // Writes the line and a line feed; blocks as long as a pipe is full. Throws OutputError, and then nothing of the line
  // stands in a regular file.
  void add(std::string_view line);

  const std::string& path() const { return path_; }

 private:
  // `code` is 0 or of errno.
  void require(int code) const;
  void requireReplaceable(std::int64_t size) const;
  void empty();

  const std::string path_;
  const bool overwrite_;
  int handle_ = -1;
  bool isRegular_ = false;
  std::int64_t size_ = 0;  // of the whole lines
};

}  // namespace BX::platform
