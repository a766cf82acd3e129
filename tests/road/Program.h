// A program under test: started, watched, signalled, and waited for.
#pragma once

#include <sys/types.h>

#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace BX::test {

struct Outcome {
  int status = -1;  // exit status, or -1 when a signal ended it
  std::string out;
  std::string err;
};

std::vector<std::string> linesOf(const std::string& text);
std::string readFile(const std::filesystem::path& path);

class Program {
 public:
  explicit Program(std::vector<std::string> command);
  ~Program();  // ends it
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  void send(int signal) const;
  // Blocks until standard output has `count` lines, and gives them; fewer when the program ended before.
  std::vector<std::string> awaitLines(std::size_t count);
  // Blocks until the program has ended.
  Outcome await();

 private:
  void collect(int descriptor, std::string& text);

  pid_t pid_ = -1;
  int status_ = -1;
  bool ended_ = false;
  std::string out_;
  std::string err_;
  int open_ = 2;  // streams that are still read
  std::mutex mutex_;
  std::condition_variable changed_;
  std::thread outReader_;
  std::thread errReader_;
};

// A folder for one test.
class Folder {
 public:
  Folder();
  ~Folder();
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  std::string path(const std::string& name) const { return (path_ / name).string(); }
  // Writes a file and gives its path.
  std::string write(const std::string& name, const std::string& text) const;

 private:
  std::filesystem::path path_;
};

// bx-sim on a pseudo-terminal.
class Device {
 public:
  explicit Device(const std::vector<std::string>& arguments = {});
  const std::string& port() const { return port_; }
  void send(int signal) const { program_.send(signal); }

 private:
  Program program_;
  std::string port_;
};

// bx with --skip-startup, from its start to its end.
Outcome bx(std::vector<std::string> arguments);
std::vector<std::string> bxCommand(std::vector<std::string> arguments);

}  // namespace BX::test
