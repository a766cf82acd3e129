#include "Program.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace BX::test {

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

std::string readFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

Folder::Folder() {
  std::string name = (std::filesystem::temp_directory_path() / "bx-road-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no folder");
  path_ = name;
}

Folder::~Folder() {
  std::error_code error;
  std::filesystem::remove_all(path_, error);
}

Program::Program(std::vector<std::string> command) {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  output_ = ends[0];
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, folder_.path("err").c_str(), O_WRONLY | O_CREAT, S_IRWXU);
  posix_spawn_file_actions_addchdir_np(&actions, BX_SOURCE_DIR);
  std::vector<char*> arguments;
  for (auto& argument : command) arguments.push_back(argument.data());
  arguments.push_back(nullptr);
  const int failure = posix_spawnp(&pid_, arguments[0], &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(ends[1]);
  if (failure != 0) throw std::runtime_error("cannot start " + command[0]);
}

Program::~Program() {
  send(SIGTERM);
  await();
  close(output_);
}

bool Program::read() {
  std::array<char, 65536> buffer{};
  const ssize_t count = ::read(output_, buffer.data(), buffer.size());
  if (count <= 0) return false;
  lines_ += static_cast<std::size_t>(std::count(buffer.begin(), buffer.begin() + count, '\n'));
  outcome_.out.append(buffer.data(), static_cast<std::size_t>(count));
  return true;
}

void Program::send(int signal) const {
  if (!ended_) kill(pid_, signal);
}

std::vector<std::string> Program::awaitLines(std::size_t count) {
  while (lines_ < count && read()) {
  }
  return linesOf(outcome_.out);
}

Outcome Program::await() {
  while (read()) {
  }
  int status = 0;
  if (!std::exchange(ended_, true) && waitpid(pid_, &status, 0) > 0 && WIFEXITED(status)) {
    outcome_.status = WEXITSTATUS(status);
  }
  outcome_.err = readFile(folder_.path("err"));
  return outcome_;
}

Device::Device(const std::vector<std::string>& arguments, std::vector<std::string> program)
    : program_([&] {
        program.insert(program.end(), arguments.begin(), arguments.end());
        return program;
      }()) {
  const auto lines = program_.awaitLines(1);
  if (lines.empty()) throw std::runtime_error("bx-sim: " + program_.await().err);
  port_ = lines.front();
}

std::vector<std::string> bxCommand(const std::string& words) {
  std::vector<std::string> command = {BX_PROGRAM, "--skip-startup"};
  std::istringstream stream(words);
  command.insert(command.end(), std::istream_iterator<std::string>(stream), {});
  return command;
}

}  // namespace BX::test
