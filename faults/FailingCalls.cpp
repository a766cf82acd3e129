#include "faults/FailingCalls.h"

#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <future>
#include <iostream>
#include <memory>
#include <sstream>
#include <system_error>

#include "bx/BXSerialLink.h"
#include "faults/Rig.h"
#include "faults/Road.h"

namespace BX::faults {

namespace {

constexpr std::size_t errorsOfACall = 10;
constexpr unsigned hangLimit = 15;  // seconds
const std::string hangs = "hangs";
constexpr link::Options callTimeouts{
    .baud = 0, .resend = std::chrono::milliseconds(20), .sends = 5, .reply = replyTime, .keepAlive = replyTime};

// One process, from call number `next` on to its end or the last call; false after the last.
bool runProcess(CallsResult& result, const std::string& port, std::size_t& next, std::size_t variant) {
  const std::string program = std::filesystem::read_symlink("/proc/self/exe");
  const std::string command = "exec env LD_PRELOAD=" BX_CALLS_LIBRARY " '" + program + "' --calls " + port + " " +
                              std::to_string(next) + " " + std::to_string(variant);
  std::FILE* const output = ::popen(command.c_str(), "r");
  if (output == nullptr) throw std::runtime_error("cannot start " + command);
  std::string call;
  int error = 0;
  std::string end = "the process does not begin";
  const auto note = [&](CallOutcome outcome) {
    ++result.outcomes[call][static_cast<std::size_t>(outcome)];
    ++next;
  };
  std::array<char, 512> line{};
  while (std::fgets(line.data(), line.size(), output) != nullptr) {
    std::istringstream words(line.data());
    std::string word;
    words >> word;
    if (word == "call") {
      words >> call >> error;
      end = "the process ended";
    } else if (word == "done" || word == "failed") {
      note(word == "done" ? CallOutcome::Done : CallOutcome::Failed);
    } else if (word == "broken" || word == "end") {
      std::getline(words, end);
    }
  }
  const int status = ::pclose(output);
  if (end.empty()) return false;
  if (WIFSIGNALED(status)) end = "signal " + std::to_string(WTERMSIG(status));
  if (WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM) end = hangs;
  const bool isWakeUp = end == hangs && call.ends_with("(eventfd)");
  if (!isWakeUp) {
    result.broken.push_back(call + " " + std::to_string(next) + ", " + std::generic_category().message(error) + ": " +
                            end);
  }
  note(isWakeUp ? CallOutcome::WakeUpLost : CallOutcome::Broken);
  return !call.empty();
}

CallsResult failEachCall(std::size_t variant) {
  CallsResult result;
  auto line = std::make_unique<sim::PtyLine>();
  const std::string port = line->name();
  sim::Options options = roadOptions();
  options.resend = callTimeouts.resend;
  const sim::Simulator device(options, std::move(line));
  for (std::size_t next = 1; runProcess(result, port, next, variant);) {
  }
  return result;
}

}  // namespace

CallsResult failEachCall() {
  CallsResult all;
  std::vector<std::future<CallsResult>> variants;
  for (std::size_t variant = 0; variant < errorsOfACall; ++variant) {
    variants.push_back(std::async(std::launch::async, [variant] { return failEachCall(variant); }));
  }
  for (auto& variant : variants) {
    const CallsResult result = variant.get();
    for (const auto& [name, counts] : result.outcomes) {
      for (std::size_t i = 0; i < counts.size(); ++i) all.outcomes[name][i] += counts[i];
    }
    all.broken.insert(all.broken.end(), result.broken.begin(), result.broken.end());
  }
  return all;
}

int runFailingCalls(const std::string& port, std::size_t first, std::size_t variant) {
  using Fail = long(long number, unsigned error);
  const auto fail = reinterpret_cast<Fail*>(::dlsym(RTLD_DEFAULT, "bxFailCall"));
  if (fail == nullptr) return 2;
  std::cerr.setstate(std::ios::failbit);  // the library's warnings
  useTimeouts(callTimeouts);
  BXDeviceManager manager;
  std::string sound = goTheRoad(manager, port, true);
  for (std::size_t number = first; sound.empty(); ++number) {
    ::alarm(hangLimit);
    fail(static_cast<long>(number), static_cast<unsigned>(variant));
    const std::string failure = goTheRoad(manager, port, true, 1);
    const bool met = fail(0, 0) <= 0;
    sound = goTheRoad(manager, port, false);
    manager.removeDevice(port);
    if (!met) {
      std::cout << "end" << std::endl;
      return 0;
    }
    if (sound.empty()) std::cout << (failure.empty() ? "done" : "failed " + failure) << std::endl;
  }
  std::cout << "broken " << sound << std::endl;
  return 1;
}

}  // namespace BX::faults
