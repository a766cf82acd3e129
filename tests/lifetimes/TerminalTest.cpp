// What the hosts before, and beside, have to do with a terminal.
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <random>

#include "tests/lifetimes/Lifetimes.h"

static std::atomic<bool> abortsRead = false;  // the next one of a terminal's host, as one that was cancelled

// In the place of the C library's, for the whole program.
extern "C" ssize_t read(int handle, void* bytes, size_t size) {
  unsigned number = 0;
  const bool isHost = abortsRead && ::isatty(handle) != 0 && ::ioctl(handle, TIOCGPTN, &number) != 0;
  if (!isHost || !abortsRead.exchange(false)) return ::syscall(SYS_read, handle, bytes, size);
  errno = ECANCELED;
  return -1;
}

namespace BX::test {
namespace {

using namespace std::chrono_literals;

sim::Bytes garbage(std::size_t size) {
  static std::mt19937 random(seed);
  sim::Bytes bytes(size);
  for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random());
  return bytes;
}

// A terminal that says something to the next host before it is a device, and noise with all that it sends as one.
class NoisyTerminal : public Around {
 public:
  NoisyTerminal(std::unique_ptr<link::Transport> inner, std::size_t stale, std::size_t noise)
      : Around(std::move(inner)), stale_(stale), noise_(noise) {}
  void open(Events events) override {
    Around::open(std::move(events));
    if (stale_ > 0) Around::write(garbage(stale_));
  }
  void write(std::vector<std::uint8_t> bytes) override {
    const auto around = garbage(noise_);
    bytes.insert(bytes.begin(), around.begin(), around.end());
    Around::write(std::move(bytes));
  }

 private:
  const std::size_t stale_;
  const std::size_t noise_;
};

// What its last user left on a terminal.
using Leaving = std::function<void(int handle, termios& settings)>;

void cook(int, termios& settings) {
  settings.c_iflag |= static_cast<tcflag_t>(ICRNL | IXON | IXOFF | ISTRIP | INLCR | PARMRK | BRKINT);
  settings.c_oflag |= static_cast<tcflag_t>(OPOST | ONLCR);
  settings.c_lflag |= static_cast<tcflag_t>(ICANON | ECHO | ECHOE | ISIG | IEXTEN);
  settings.c_cc[VMIN] = 255;
}

class Terminal : public testing::Test {
 protected:
  void start(const Leaving& leave = {}, std::size_t stale = 0, std::size_t noise = 0, std::size_t records = 0) {
    com.closePort();
    simulator.reset();
    auto line = std::make_unique<sim::PtyLine>();
    port = line->name();
    if (leave) {
      const int handle = ::open(port.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
      ASSERT_GE(handle, 0);
      termios settings{};
      ::tcgetattr(handle, &settings);
      leave(handle, settings);
      ::tcsetattr(handle, TCSANOW, &settings);
      ::close(handle);
    }
    sim::Options options = streaming(records, 20'000);
    options.resend = 60min;
    simulator =
        std::make_unique<sim::Simulator>(options, std::make_unique<NoisyTerminal>(std::move(line), stale, noise));
    com.initializePort(port);
  }

  NoWaits noWaits;
  std::string port;
  std::unique_ptr<sim::Simulator> simulator;
  BXSerialCom com;
};

TEST_F(Terminal, ConnectsWhateverWasLeftOnIt) {
  const std::tuple<Leaving, std::size_t, std::size_t> table[] = {
      {cook, 0, 0}, {[](int handle, auto&) { ::tcflow(handle, TCOOFF); }, 0, 0}, {{}, 3000, 0}, {cook, 3000, 40}};
  for (const auto& [leave, stale, noise] : table) {
    start(leave, stale, noise);
    ASSERT_TRUE(com.openPort()) << link::lastError(port);
    for (int i = 0; i < 20; ++i) EXPECT_TRUE(com.poll()) << link::lastError(port);
  }
}

TEST_F(Terminal, RefusesASecondHostAndBringsTheFirstEachFrameOnce) {
  const std::size_t records = scaled(3000);
  start({}, 0, 0, records);
  ASSERT_TRUE(com.openPort());
  std::atomic<std::size_t> heard = 0;
  com.setProcessTrainingCallback([&] { ++heard; });
  ASSERT_TRUE(com.setDeviceMode(BXSerialCom::FIELD_STREAM, false));
  com.startSessionListening();
  link::setOptions({.baud = 9600});
  for (int i = 0; i < 20; ++i) {
    BXSerialCom second;
    second.initializePort(port);
    EXPECT_FALSE(second.openPort());
    EXPECT_EQ(link::lastError(port), "in use by another program");
    EXPECT_FALSE(second.poll());
  }
  link::setOptions({});
  await([&] { return heard >= records || !com.getStreaming(); });
  EXPECT_TRUE(com.setDeviceMode(BXSerialCom::RESTING, true));
  EXPECT_EQ(heard, records + 1);  // and the mode's answer
  const auto statistics = link::statistics(port);
  EXPECT_EQ(statistics.framesDamaged, 0U);
  EXPECT_LE(statistics.framesReceived, statistics.payloadsReceived + 5) << "but acknowledgements";
}

// Some drivers tell so that the cable was pulled.
TEST_F(Terminal, TakesAnAbortedReadForAHangUp) {
  start();
  ASSERT_TRUE(com.openPort());
  ASSERT_TRUE(com.poll());
  abortsRead = true;
  EXPECT_FALSE(com.poll());
  EXPECT_EQ(link::lastFailure(port).kind, link::FailureKind::HungUp);
  EXPECT_FALSE(com.isConnected());
}

TEST_F(Terminal, IsFreeOnceItIsClosedThoughAForkedChildHoldsIt) {
  start();
  ASSERT_TRUE(com.openPort());
  const pid_t child = ::fork();
  while (child == 0) ::pause();
  com.closePort();
  EXPECT_TRUE(com.openPort()) << link::lastError(port);
  ::kill(child, SIGKILL);
  ::waitpid(child, nullptr, 0);
}

}  // namespace
}  // namespace BX::test
