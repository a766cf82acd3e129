#include "Program.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace BX::test {

namespace {

struct Pipe {
  int read = -1;
  int write = -1;
};

Pipe makePipe() {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  return {ends[0], ends[1]};
}

}  // namespace

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

Program::Program(std::vector<std::string> command) {
  const Pipe out = makePipe();
  const Pipe err = makePipe();
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, out.write, STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, err.write, STDERR_FILENO);
  std::vector<char*> arguments;
  for (auto& argument : command) arguments.push_back(argument.data());
  arguments.push_back(nullptr);
  const int failure = posix_spawnp(&pid_, arguments[0], &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(out.write);
  close(err.write);
  if (failure != 0) throw std::runtime_error("cannot start " + command[0]);
  outReader_ = std::thread([this, descriptor = out.read] { collect(descriptor, out_); });
  errReader_ = std::thread([this, descriptor = err.read] { collect(descriptor, err_); });
}

Program::~Program() {
  if (!ended_) {
    send(SIGTERM);
    await();
  }
}

void Program::collect(int descriptor, std::string& text) {
  std::array<char, 65536> buffer{};
  while (true) {
    const ssize_t count = read(descriptor, buffer.data(), buffer.size());
    const std::scoped_lock lock(mutex_);
    if (count <= 0) --open_;
    if (count > 0) text.append(buffer.data(), static_cast<std::size_t>(count));
    changed_.notify_all();
    if (count <= 0) break;
  }
  close(descriptor);
}

void Program::send(int signal) const { kill(pid_, signal); }

std::vector<std::string> Program::awaitLines(std::size_t count) {
  std::unique_lock lock(mutex_);
  std::size_t seen = 0;
  std::size_t lines = 0;
  changed_.wait(lock, [&] {
    for (; seen < out_.size(); ++seen) lines += out_[seen] == '\n' ? 1U : 0U;
    return lines >= count || open_ == 0;
  });
  return linesOf(out_);
}

Outcome Program::await() {
  if (!ended_) {
    outReader_.join();
    errReader_.join();
    int status = 0;
    waitpid(pid_, &status, 0);
    if (WIFEXITED(status)) status_ = WEXITSTATUS(status);
    ended_ = true;
  }
  return {status_, out_, err_};
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

std::string Folder::write(const std::string& name, const std::string& text) const {
  std::ofstream(path_ / name, std::ios::binary) << text;
  return path(name);
}

Device::Device(const std::vector<std::string>& arguments)
    : program_([&] {
        std::vector<std::string> command = {BX_SIM_PROGRAM};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return command;
      }()) {
  const auto lines = program_.awaitLines(1);
  if (lines.empty()) throw std::runtime_error("bx-sim: " + program_.await().err);
  port_ = lines.front();
}

std::vector<std::string> bxCommand(std::vector<std::string> arguments) {
  std::vector<std::string> command = {BX_PROGRAM, "--skip-startup"};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return command;
}

Outcome bx(std::vector<std::string> arguments) { return Program(bxCommand(std::move(arguments))).await(); }

}  // namespace BX::test
