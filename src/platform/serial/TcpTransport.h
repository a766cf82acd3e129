// A device server's serial line, reached over TCP, through Boost.Asio.
#pragma once

#include <utility>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "bx/BXSerialLink.h"
#include "platform/serial/AsyncLine.h"

namespace BX::link {

// Every member, and every event, runs on the thread that runs `context`, one at a time.
class TcpTransport : public Transport {
 public:
  TcpTransport(boost::asio::io_context& context, std::string port);
  ~TcpTransport() override;
  // Blocks for 3 s at most, looking up the host included, or until the calling thread is cancelled.
  void open(Events events) override;
  void write(std::vector<std::uint8_t> bytes) override;
  void close() override;

 private:
  using Clock = std::chrono::steady_clock;
  using Endpoints = std::vector<boost::asio::ip::tcp::endpoint>;
  using Error = boost::system::error_code;

  struct Kind {
    using Stream = boost::asio::ip::tcp::socket;
    static std::size_t writeAtOnce(Stream& socket, std::span<const std::uint8_t> bytes);
    static void onRead(Stream& socket);
    static std::string reasonOf(const Error& error);
  };

  bool runUntil(const std::function<bool()>& isDone, Clock::time_point end);
  Endpoints lookUp(Clock::time_point end);
  void connect(const Endpoints& endpoints, Clock::time_point end);
  Error connectTo(const boost::asio::ip::tcp::endpoint& endpoint, Clock::time_point end);

  boost::asio::io_context& context_;
  std::string name_;
  std::shared_ptr<AsyncLine<Kind>> line_;
};

}  // namespace BX::link
