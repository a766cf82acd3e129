// One browser's connection to an event server.
#pragma once

#include <utility>  // before Boost's, which lack it
// clang-format off
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/parser.hpp>
// clang-format on
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
  // Sends a viewer its next event, when it has taken the one before. To be called at regular intervals.
  void advance();
  bool isSending() const { return text_ != nullptr; }
  void close();

 private:
  using Error = boost::system::error_code;

  void onRequest(Error error);
  void answer();
  void follow();
  void respond(std::string_view status, std::string_view fields, const std::string& body);
  void send(std::shared_ptr<const std::string> text);
  void sendMore();
  void onSent();
  void onText(void (HttpConnection::*next)(Error));
  void drain();

  boost::beast::tcp_stream stream_;
  boost::beast::flat_buffer received_;
  boost::beast::http::request_parser<boost::beast::http::empty_body> request_;
  Site& site_;
  Place place_;
  bool isViewer_ = false;
  unsigned quietTurns_ = 0;                  // since something was sent
  std::shared_ptr<const std::string> text_;  // on its way
  std::size_t sent_ = 0;                     // of it
};

}  // namespace BX::viewer
