#include "viewer/EventServer.h"

#include <utility>  // Boost's headers need it before them
// clang-format off
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/host_name.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
// clang-format on
#include <algorithm>
#include <charconv>
#include <exception>
#include <future>
#include <thread>
#include <vector>

#include "Rebinding.h"
#include "viewer/HttpConnection.h"

namespace BX::viewer {

namespace {

namespace asio = boost::asio;
using Error = boost::system::error_code;
using asio::ip::tcp;

constexpr std::chrono::milliseconds turn{52};  // a viewer counts 20 events a second at most, late ones included
constexpr std::size_t mostConnections = 128;   // those that follow, and those that ask

struct Endpoint {
  std::string name;  // without brackets
  std::uint16_t port = 0;
};

Endpoint parsed(const std::string& text) {
  const auto colon = text.rfind(':');
  Endpoint endpoint{text.substr(0, colon), 0};
  std::string& name = endpoint.name;
  const bool isBracketed = name.size() > 2 && name.front() == '[' && name.back() == ']';
  if (isBracketed) name = name.substr(1, name.size() - 2);
  const char* const begin = colon == std::string::npos ? nullptr : text.data() + colon + 1;
  const char* const end = text.data() + text.size();
  const auto read = std::from_chars(begin, begin == nullptr ? nullptr : end, endpoint.port);
  if (read.ec != std::errc() || read.ptr != end || name.empty() ||
      (!isBracketed && name.find(':') != std::string::npos)) {
    throw ListenError(text + ": no ADDRESS:PORT, such as 127.0.0.1:8080 or [::1]:8080");
  }
  return endpoint;
}

std::string reason(const Error& error) {
  if (error == asio::error::address_in_use) return "in use by another program";
  if (error == asio::error::access_denied) return "not permitted to this user";
  return error.message();
}

}  // namespace

class EventServer::Listener {
 public:
  Listener(const std::string& endpoint, Feed& feed) : site_{feed, parsed(endpoint).name} {
    listen(endpoint);
    takeTurn();
    thread_ = std::thread([this] { run(); });
  }

  ~Listener() {
    context_.stop();
    thread_.join();
  }
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;

  std::string url() const {
    const std::string port = std::to_string(acceptor_.local_endpoint().port());
    const bool isV6 = site_.name.find(':') != std::string::npos;
    return "http://" + (isV6 ? '[' + site_.name + ']' : site_.name) + ':' + port + '/';
  }

  void post(std::function<void()> task) { asio::post(context_, std::move(task)); }

  void finish(std::chrono::milliseconds patience) {
    post([this] {
      isFinishing_ = true;
      Error ignored;
      acceptor_.close(ignored);
    });
    finished_.get_future().wait_for(patience);
  }

 private:
  void listen(const std::string& endpoint) {
    Error error;
    const auto found = tcp::resolver(context_).resolve(site_.name, std::to_string(parsed(endpoint).port),
                                                       tcp::resolver::passive, error);
    for (const auto& entry : found) {
      error = {};
      acceptor_ = tcp::acceptor(context_);
      acceptor_.open(entry.endpoint().protocol(), error);
      if (!error && reusesAddress) acceptor_.set_option(tcp::acceptor::reuse_address(true), error);
      if (!error) acceptor_.bind(entry.endpoint(), error);
      if (!error) acceptor_.listen(asio::socket_base::max_listen_connections, error);
      if (!error) return nameByHost();
    }
    throw ListenError(endpoint + ": listen: " + reason(error));
  }

  // All of this machine's addresses are none that a browser elsewhere could be sent to.
  void nameByHost() {
    if (acceptor_.local_endpoint().address().is_unspecified()) site_.name = asio::ip::host_name();
  }

  // A connection whose handler fails ends alone.
  void run() {
    for (;;) {
      try {
        context_.run();
        return;
      } catch (const std::exception&) {
        continue;
      }
    }
  }

  void takeTurn() {
    timer_.expires_after(turn);
    timer_.async_wait([this](Error) { takeTurn(); });
    std::erase_if(connections_, [](const auto& connection) { return connection.expired(); });
    bool isSending = false;
    for (const auto& weak : connections_) {
      const auto connection = weak.lock();
      if (!connection) continue;
      try {
        connection->advance();
      } catch (const std::exception&) {  // such as no memory for all of the feed
        connection->drop();
      }
      isSending = isSending || connection->isSending();
    }
    if (!isFinishing_) {
      accept();
    } else if (!isSending && !std::exchange(isFinished_, true)) {
      finished_.set_value();
    }
  }

  void accept() {
    if (isAccepting_ || connections_.size() >= mostConnections) return;
    isAccepting_ = true;
    acceptor_.async_accept([this](Error error, tcp::socket socket) {
      isAccepting_ = false;
      if (error) return;  // the next turn tries again
      const auto connection = std::make_shared<HttpConnection>(std::move(socket), site_);
      connections_.push_back(connection);
      connection->start();
      accept();
    });
  }

  Site site_;
  asio::io_context context_{1};
  tcp::acceptor acceptor_{context_};
  asio::steady_timer timer_{context_};
  std::vector<std::weak_ptr<HttpConnection>> connections_;
  bool isAccepting_ = false;
  bool isFinishing_ = false;
  bool isFinished_ = false;
  std::promise<void> finished_;
  std::thread thread_;
};

EventServer::EventServer(const std::string& endpoint, Feed& feed)
    : listener_(std::make_unique<Listener>(endpoint, feed)), url_(listener_->url()) {}

EventServer::~EventServer() = default;

void EventServer::post(std::function<void()> task) { listener_->post(std::move(task)); }

void EventServer::finish(std::chrono::milliseconds patience) { listener_->finish(patience); }

}  // namespace BX::viewer
