// A program under test: started, watched, signalled, and waited for.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

namespace BX::test {

std::vector<std::string> linesOf(const std::string& text);
std::string readFile(const std::filesystem::path& path);

// A folder for one test.
class Folder {
 public:
  Folder();
  ~Folder();
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  std::string path(const std::string& name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_;
};

struct Outcome {
  int status = -1;  // exit status, or -1 when a signal ended it
  std::string out;
  std::string err;
};

class Program {
 public:
  explicit Program(std::vector<std::string> command);
  ~Program();  // ends it

  void send(int signal) const;
  // Blocks until standard output has `count` lines, and gives them; fewer when the program ended before.
  std::vector<std::string> awaitLines(std::size_t count);
  // Blocks until the program has ended.
  Outcome await();

 private:
  // Waits for more of standard output; false at its end.
  bool read();

  Folder folder_;  // standard error goes to a file, which nobody has to read meanwhile
  pid_t pid_ = -1;
  bool ended_ = false;
  int output_ = -1;
  std::size_t lines_ = 0;
  Outcome outcome_;
};

// bx-sim on a pseudo-terminal; `program` is the command that starts it.
class Device {
 public:
  explicit Device(const std::vector<std::string>& arguments = {}, std::vector<std::string> program = {BX_SIM_PROGRAM});
  const std::string& port() const { return port_; }
  void send(int signal) const { program_.send(signal); }

 private:
  Program program_;
  std::string port_;
};

// Starts bx with --skip-startup and these words.
std::vector<std::string> bxCommand(const std::string& words);

}  // namespace BX::test
