#include "viewer/HttpConnection.h"

#include <boost/asio/buffer.hpp>
#include <boost/beast/http/read.hpp>
#include <charconv>
#include <chrono>

#include "viewer/HttpHost.h"

namespace BX::viewer {

namespace {

namespace http = boost::beast::http;

constexpr std::size_t mostRequest = 8192;
constexpr std::size_t mostViewers = 64;
constexpr std::chrono::seconds requestTime{5};
constexpr std::chrono::seconds sendTime{2};  // for each piece: a page may take as long as a slow line needs
constexpr std::chrono::seconds closeTime{1};
constexpr std::size_t piece = 16384;
constexpr int sendBuffer = 8192;              // what waits in it hides that a viewer has stopped reading
constexpr std::chrono::seconds mostQuiet{5};  // so that a viewer that has left is noticed

std::optional<std::uint64_t> numberIn(const std::string& text) {
  std::uint64_t number = 0;
  const char* const end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, number);
  return read.ec == std::errc() && read.ptr == end ? std::optional(number) : std::nullopt;
}

}  // namespace

HttpConnection::HttpConnection(boost::asio::ip::tcp::socket socket, Site& site)
    : socket_(std::move(socket)), received_(mostRequest), site_(site) {
  request_.header_limit(mostRequest);
  Error ignored;
  socket_.set_option(boost::asio::socket_base::send_buffer_size(sendBuffer), ignored);
  socket_.set_option(boost::asio::ip::tcp::no_delay(true), ignored);
}

HttpConnection::~HttpConnection() {
  if (isViewer_) --site_.viewers;
}

void HttpConnection::start() {
  deadline_ = Clock::now() + requestTime;
  http::async_read(socket_, received_, request_,
                   [self = shared_from_this()](Error error, std::size_t) { self->onRequest(error); });
}

void HttpConnection::onRequest(Error error) {
  if (!error) return answer();
  if (error == http::error::header_limit || error == http::error::buffer_overflow) {
    return respond("431 Request Header Fields Too Large", {}, "The request is too large.\n");
  }
  const bool isWrong = error.category() == http::make_error_code(http::error::bad_method).category();
  if (isWrong && error != http::error::end_of_stream && error != http::error::partial_message) {
    respond("400 Bad Request", {}, "This is no request for a page.\n");
  }
}

void HttpConnection::answer() {
  const auto& request = request_.get();
  const std::string_view target(request.target().data(), request.target().size());
  const auto host = request[http::field::host];
  if (request.count(http::field::host) != 1 || !isLocalHost({host.data(), host.size()}, site_.name)) {
    return respond("403 Forbidden", {}, "Not by this name: take the address.\n");
  }
  if (target != "/" && target != "/events") return respond("404 Not Found", {}, "Nothing is here.\n");
  if (request.method() != http::verb::get && request.method() != http::verb::head) {
    return respond("405 Method Not Allowed", "Allow: GET, HEAD\r\n", "The page is to be looked at.\n");
  }
  if (target == "/events") return follow();
  // What the page may do is told in itself, but for this.
  respond("200 OK", "Content-Type: text/html; charset=utf-8\r\nContent-Security-Policy: frame-ancestors 'none'\r\n",
          site_.feed.page());
}

void HttpConnection::follow() {
  const auto& request = request_.get();
  if (request.method() == http::verb::get) {
    if (site_.viewers >= mostViewers) {
      return respond("503 Service Unavailable", "Retry-After: 5\r\n", "As many follow as may.\n");
    }
    isViewer_ = true;
    ++site_.viewers;
    place_.event = numberIn(std::string(request["Last-Event-ID"]));
  }
  respond("200 OK", "Content-Type: text/event-stream\r\n", {});
}

// An empty body has no length: it may go on.
void HttpConnection::respond(std::string_view status, std::string_view fields, const std::string& body) {
  std::string text = "HTTP/1.1 ";
  text.append(status).append("\r\nConnection: close\r\nCache-Control: no-store\r\nX-Content-Type-Options: nosniff\r\n");
  text.append("Cross-Origin-Resource-Policy: same-origin\r\n").append(fields);
  if (fields.find("Content-Type") == std::string_view::npos) text += "Content-Type: text/plain; charset=utf-8\r\n";
  if (!body.empty()) text += "Content-Length: " + std::to_string(body.size()) + "\r\n";
  text += "\r\n";
  if (request_.get().method() != http::verb::head) text += body;
  send(std::make_shared<const std::string>(std::move(text)));
  if (isViewer_) drain();
}

void HttpConnection::advance() {
  const auto now = Clock::now();
  if (now >= deadline_) return isSending() ? drop() : close();
  if (!isViewer_ || isSending()) return;
  if (auto text = site_.feed.next(place_)) {
    send(std::move(text));
  } else if (now >= quietUntil_) {
    send(std::make_shared<const std::string>(":\n\n"));
  }
}

void HttpConnection::send(std::shared_ptr<const std::string> text) {
  text_ = std::move(text);
  sent_ = 0;
  quietUntil_ = Clock::now() + mostQuiet;
  sendMore();
}

void HttpConnection::sendMore() {
  deadline_ = Clock::now() + sendTime;
  socket_.async_write_some(boost::asio::buffer(boost::asio::buffer(*text_) + sent_, piece),
                           [self = shared_from_this()](Error error, std::size_t count) {
                             if (error) return self->close();
                             self->sent_ += count;
                             if (self->sent_ < self->text_->size()) return self->sendMore();
                             self->onSent();
                           });
}

void HttpConnection::onSent() {
  text_.reset();
  deadline_ = Clock::time_point::max();
  if (isViewer_) return;
  // To close at once would take back what is on its way, while something of the request is unread.
  Error ignored;
  socket_.shutdown(boost::asio::ip::tcp::socket::shutdown_send, ignored);
  deadline_ = Clock::now() + closeTime;
  drain();
}

// Reads, and ignores, what still comes, up to the end.
void HttpConnection::drain() {
  received_.clear();
  socket_.async_read_some(received_.prepare(mostRequest), [self = shared_from_this()](Error error, std::size_t) {
    if (error) return self->close();
    self->drain();
  });
}

void HttpConnection::close() {
  Error ignored;
  socket_.shutdown(boost::asio::ip::tcp::socket::shutdown_both, ignored);
  socket_.close(ignored);
}

void HttpConnection::drop() {
  Error ignored;
  socket_.set_option(boost::asio::socket_base::linger(true, 0), ignored);
  socket_.cancel(ignored);  // what is under way keeps a socket open where closing does not end it
  socket_.close(ignored);
}

}  // namespace BX::viewer
