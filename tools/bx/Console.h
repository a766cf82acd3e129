// Where the tool writes: standard output carries data only, everything else goes to standard error.
#pragma once

#include <ostream>
#include <stdexcept>
#include <streambuf>
#include <string>

#include "platform/Mutex.h"
#include "platform/Utf8.h"

namespace BX::tool {

// Of the program; one that a signal has ended gives 128 and the signal (Interrupt.h).
enum Status : int { done = 0, deviceFailed = 1, wrongUsage = 2 };

// Ends the program with one line on standard error. The text names the port or file, the step and the reason.
class Failure : public std::runtime_error {
 public:
  Failure(int status, const std::string& text) : std::runtime_error(text), status_(status) {}
  int status() const { return status_; }

 private:
  int status_;
};

using platform::validUtf8;  // JSON is UTF-8, and a device may hold any bytes

// The library writes lines of its own to std::cout and std::cerr. While a Console lives these lines are discarded,
// and the tool writes through streams of its own on the original buffers. What goes to standard error or to a terminal
// is made printable: it may come from a device, a file or a port's name. Any thread may write.
class Console {
 public:
  // `program` begins each error and warning.
  explicit Console(std::string program = "bx");
  ~Console();
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;

  // The library's lines go to standard error from now on.
  void showLibrary();
  // Only errors are written to standard error from now on.
  void beQuiet() { quiet_ = true; }
  // Nothing that moves is drawn from now on.
  void beStill() { still_ = true; }

  // One line of data, valid UTF-8 and flushed. False when nobody reads standard output any more; throws Failure when it
  // cannot be written for another reason.
  bool data(const std::string& line);
  // Whether somebody still reads standard output, as far as the system tells.
  bool isRead();
  void error(const std::string& text);
  void warning(const std::string& text);
  void note(const std::string& text);
  // Whether something that moves may be drawn on standard error.
  bool drawsProgress() const;
  bool isOutputTerminal() const { return isTerminal_; }
  // Draws over the line that was drawn before; an empty text wipes it.
  void progress(const std::string& text);

 private:
  class Discard : public std::streambuf {
   protected:
    int_type overflow(int_type c) override { return traits_type::not_eof(c); }
    std::streamsize xsputn(const char*, std::streamsize count) override { return count; }
  };

  // Hands whole lines on to standard error.
  class LibraryLines : public std::streambuf {
   public:
    explicit LibraryLines(Console& console) : console_(console) {}

   protected:
    int_type overflow(int_type c) override;
    std::streamsize xsputn(const char* text, std::streamsize count) override;

   private:
    Console& console_;
    std::string begun_;
  };

  void line(const std::string& text);

  const std::string program_;
  Discard discard_;
  std::streambuf* outBuffer_;
  std::streambuf* errBuffer_;
  LibraryLines library_{*this};
  bool isRead_ = true;     // standard output
  const bool isTerminal_;  // standard output
  platform::Mutex mutex_;
  std::ostream err_ GUARDED_BY(mutex_);
  bool showsProgress_ GUARDED_BY(mutex_) = false;
  bool quiet_ = false;
  bool still_ = false;
};

}  // namespace BX::tool
