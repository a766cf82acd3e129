#include <utility>  // before Asio, which needs it

#include <boost/asio/buffer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <deque>
#include <system_error>
#include <thread>

#include "simulator/Simulator.h"

namespace BX::sim {

namespace {

using boost::system::error_code;

// How often a terminal that no host has open is looked at.
constexpr std::chrono::milliseconds hostPoll{10};
// How long closing waits for a host that reads too slowly to take what was written.
constexpr std::chrono::milliseconds closeLimit{100};
constexpr std::size_t readSize = 4096;

[[noreturn]] void fail(const char* what) { throw std::system_error(errno, std::generic_category(), what); }

// Closes the descriptor at the end of its life.
class Descriptor {
 public:
  explicit Descriptor(int fd) : fd_(fd) {}
  ~Descriptor() {
    if (fd_ >= 0) ::close(fd_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int get() const { return fd_; }
  int release() { return std::exchange(fd_, -1); }

 private:
  int fd_;
};

std::string terminalName(int master) {
  std::array<char, 128> name{};
  if (::ptsname_r(master, name.data(), name.size()) != 0) fail("ptsname");
  return name.data();
}

// The settings outlive this visit, for as long as the master is open. The terminal itself must not stay open: the
// master tells by its read failing that no host has it open.
void makeRaw(const std::string& name) {
  const Descriptor terminal(::open(name.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
  if (terminal.get() < 0) fail("opening the terminal");
  termios settings{};
  if (::tcgetattr(terminal.get(), &settings) != 0) fail("tcgetattr");
  ::cfmakeraw(&settings);
  if (::tcsetattr(terminal.get(), TCSANOW, &settings) != 0) fail("tcsetattr");
}

int openMaster() {
  Descriptor master(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
  if (master.get() < 0) fail("posix_openpt");
  if (::grantpt(master.get()) != 0) fail("grantpt");
  if (::unlockpt(master.get()) != 0) fail("unlockpt");
  makeRaw(terminalName(master.get()));
  return master.release();
}

}  // namespace

// All but the constructor, open and stop runs on the port's own thread.
class PtyLine::Port {
 public:
  Port() : master_(io_, openMaster()), timer_(io_), name_(terminalName(master_.native_handle())) {}

  const std::string& name() const { return name_; }

  void open(link::Transport::Events events) {
    events_ = std::move(events);
    read();
    thread_ = std::thread([this] { io_.run(); });
  }

  void queue(Bytes bytes) {
    boost::asio::post(io_, [this, bytes = std::move(bytes)]() mutable {
      outgoing_.push_back(std::move(bytes));
      if (outgoing_.size() == 1) write();
    });
  }

  void stop() {
    boost::asio::post(io_, [this] {
      closing_ = true;
      if (outgoing_.empty()) {
        shut();
      } else {
        timer_.expires_after(closeLimit);
        timer_.async_wait([this](const error_code&) { shut(); });
      }
    });
    if (thread_.joinable()) thread_.join();
    io_.restart();
    io_.run();  // without a thread, on this one
  }

 private:
  void read() {
    master_.async_read_some(boost::asio::buffer(buffer_), [this](const error_code& error, std::size_t size) {
      if (!error) {
        hostSeen_ = true;
        if (!closing_) events_.received({buffer_.data(), size});
        read();
      } else if (error.value() == EIO) {
        hostGone();
      }
    });
  }

  void shut() {
    error_code ignored;
    timer_.cancel();
    master_.close(ignored);
  }

  void hostGone() {
    if (closing_) return shut();
    if (std::exchange(hostSeen_, false)) {
      master_.cancel();
      ::tcflush(master_.native_handle(), TCOFLUSH);  // what it left unread is not for the next host
      events_.hungUp("the host closed the terminal");
    }
    timer_.expires_after(hostPoll);
    timer_.async_wait([this](const error_code& error) {
      if (!error) read();
    });
  }

  void write() {
    boost::asio::async_write(master_, boost::asio::buffer(outgoing_.front()),
                             [this](const error_code& error, std::size_t) {
                               outgoing_.pop_front();
                               if (error) outgoing_.clear();
                               if (!outgoing_.empty()) {
                                 write();
                               } else if (closing_) {
                                 shut();
                               }
                             });
  }

  boost::asio::io_context io_;
  boost::asio::posix::stream_descriptor master_;
  boost::asio::steady_timer timer_;
  const std::string name_;
  link::Transport::Events events_;
  std::array<std::uint8_t, readSize> buffer_{};
  std::deque<Bytes> outgoing_;  // the first one is being written
  bool hostSeen_ = false;       // since the last hang-up
  bool closing_ = false;
  std::thread thread_;
};

PtyLine::PtyLine() : port_(std::make_unique<Port>()) {}

PtyLine::~PtyLine() { PtyLine::close(); }

const std::string& PtyLine::name() const { return port_->name(); }

void PtyLine::open(Events events) { port_->open(std::move(events)); }

void PtyLine::write(std::vector<std::uint8_t> bytes) { port_->queue(std::move(bytes)); }

void PtyLine::close() { port_->stop(); }

}  // namespace BX::sim
