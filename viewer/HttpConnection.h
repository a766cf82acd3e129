// One browser's connection to an event server.
#pragma once

#include <utility>  // before Boost's, which lack it
// clang-format off
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/parser.hpp>
// clang-format on
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "viewer/EventServer.h"

namespace BX::viewer {

// What all connections share.
struct Site {
  Feed& feed;
  std::string name;         // that the server was told to answer to
  std::size_t viewers = 0;  // who follow the events
};

// Lives as long as it has something to do. Used on the server's thread alone.
class HttpConnection : public std::enable_shared_from_this<HttpConnection> {
 public:
  HttpConnection(boost::asio::ip::tcp::socket socket, Site& site);
  ~HttpConnection();
  HttpConnection(const HttpConnection&) = delete;
  HttpConnection& operator=(const HttpConnection&) = delete;

  void start();
  // Sends a viewer its next event, when it has taken the one before, and lets go whoever keeps us waiting for too long.
  // To be called at regular intervals.
  void advance();
  bool isSending() const { return text_ != nullptr; }
  // At once; what is on its way is taken back.
  void drop();

 private:
  using Clock = std::chrono::steady_clock;
  using Error = boost::system::error_code;

  void onRequest(Error error);
  void answer();
  void follow();
  void respond(std::string_view status, std::string_view fields, const std::string& body);
  void send(std::shared_ptr<const std::string> text);
  void sendMore();
  void onSent();
  void drain();
  void close();

  boost::asio::ip::tcp::socket socket_;
  Clock::time_point deadline_;  // of what goes on
  boost::beast::flat_buffer received_;
  boost::beast::http::request_parser<boost::beast::http::empty_body> request_;
  Site& site_;
  Place place_;
  bool isViewer_ = false;
  Clock::time_point quietUntil_;
  std::shared_ptr<const std::string> text_;  // on its way
  std::size_t sent_ = 0;                     // of it
};

}  // namespace BX::viewer
