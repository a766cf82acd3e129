#include "bench/Lanes.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <stdexcept>

extern char** environ;

namespace BX::bench {

Lanes::Lanes(const std::string& program, std::size_t count, const std::vector<std::string>& arguments) {
  std::array<int, 2> names{};
  if (::pipe2(names.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_adddup2(&actions, names[1], STDOUT_FILENO);
  std::vector<std::string> words{program, "--lanes", std::to_string(count)};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<char*> pointers;
  for (std::string& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  const int error = ::posix_spawn(&process_, program.c_str(), &actions, nullptr, pointers.data(), environ);
  ::posix_spawn_file_actions_destroy(&actions);
  ::close(names[1]);
  std::FILE* const lines = ::fdopen(names[0], "r");
  std::array<char, 256> line{};
  while (error == 0 && ports_.size() < count && std::fgets(line.data(), line.size(), lines) != nullptr) {
    ports_.emplace_back(line.data());
    ports_.back().pop_back();  // the newline
  }
  std::fclose(lines);
  if (ports_.size() < count) throw std::runtime_error(program + " does not run");
}

Lanes::~Lanes() {
  ::kill(process_, SIGTERM);
  ::waitpid(process_, nullptr, 0);
}

}  // namespace BX::bench
