// Where the tool writes: standard output carries data only, everything else goes to standard error.
#pragma once

#include <ostream>
#include <stdexcept>
#include <streambuf>
#include <string>

namespace BX::tool {

enum Status : int { done = 0, deviceFailed = 1, wrongUsage = 2 };

// Ends the program with one line on standard error. The text names the port or file, the step and the reason.
class Failure : public std::runtime_error {
 public:
  Failure(Status status, const std::string& text) : std::runtime_error(text), status_(status) {}
  Status status() const { return status_; }

 private:
  Status status_;
};

// JSON is UTF-8, and a device may hold any bytes: what is no valid UTF-8 becomes U+FFFD.
std::string validUtf8(const std::string& text);

// The library writes lines of its own to std::cout and std::cerr. While a Console lives these lines are discarded,
// and the tool writes through streams of its own on the original buffers.
class Console {
 public:
  Console();
  ~Console();
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;

  // The library's lines go to standard error from now on.
  void showLibrary();
  // Only errors are written to standard error from now on.
  void beQuiet() { quiet_ = true; }

  // One line of data, flushed. False when nobody reads standard output any more; throws Failure when it cannot be
  // written for another reason.
  bool data(const std::string& line);
  void error(const std::string& text);
  void warning(const std::string& text);
  void note(const std::string& text);
  // Whether something that moves may be drawn on standard error.
  bool drawsProgress() const;
  // Draws over the line that was drawn before; an empty text wipes it.
  void progress(const std::string& text);

 private:
  class Discard : public std::streambuf {
   protected:
    int_type overflow(int_type c) override { return traits_type::not_eof(c); }
    std::streamsize xsputn(const char*, std::streamsize count) override { return count; }
  };

  void line(const std::string& text);

  Discard discard_;
  std::streambuf* outBuffer_;
  std::streambuf* errBuffer_;
  std::ostream out_;
  std::ostream err_;
  bool quiet_ = false;
};

}  // namespace BX::tool
