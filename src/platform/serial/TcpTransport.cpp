#include "platform/serial/TcpTransport.h"

#include <algorithm>
#include <optional>

#include "platform/serial/Cancelling.h"
#include "platform/serial/HostLookup.h"
#include "platform/serial/Network.h"
#include "platform/serial/PortBook.h"
#include "platform/serial/TcpName.h"

namespace BX::link {

namespace {

namespace asio = boost::asio;
using asio::ip::tcp;

constexpr std::chrono::seconds openLimit{3};  // in all

OpenFailure failureOf(const boost::system::error_code& error) {
  using Reason = asio::error::basic_errors;
  if (error == asio::error::host_not_found || error == asio::error::no_data) {
    return {FailureKind::NoSuchPort, "no such host"};
  }
  if (error == asio::error::host_not_found_try_again) {
    return {FailureKind::System, "the host's name cannot be looked up now"};
  }
  if (error == Reason::connection_refused) return {FailureKind::NoSuchPort, "refused: nothing listens at this port"};
  if (error == Reason::timed_out) return {FailureKind::System, "no answer within " + secondsText(openLimit)};
  if (error == Reason::network_unreachable || error == Reason::host_unreachable) {
    return {FailureKind::System, "there is no way to this host"};
  }
  if (error == Reason::access_denied) return {FailureKind::NotPermitted, "permission denied"};
  return {FailureKind::System, error.message()};
}

}  // namespace

std::size_t TcpTransport::Kind::writeAtOnce(Stream& socket, std::span<const std::uint8_t> bytes) {
  Error ignored;  // whatever it is, the next read tells
  return socket.write_some(asio::buffer(bytes.data(), bytes.size()), ignored);
}

void TcpTransport::Kind::onRead(Stream& socket) { acknowledgeAtOnce(socket.native_handle()); }

std::string TcpTransport::Kind::reasonOf(const Error& error) {
  using Reason = asio::error::basic_errors;
  if (error == asio::error::eof) return "the connection was closed by the server";
  if (error == Reason::connection_reset || error == Reason::broken_pipe || error == Reason::connection_aborted) {
    return "the connection was reset";
  }
  if (error == Reason::timed_out) return "the connection is lost: the server does not answer any more";
  return "the connection is lost: " + error.message();
}

TcpTransport::TcpTransport(asio::io_context& context, std::string port)
    : context_(context), name_(std::move(port)), line_(std::make_shared<AsyncLine<Kind>>(context)) {}

TcpTransport::~TcpTransport() { TcpTransport::close(); }

void TcpTransport::open(Events events) {
  const auto end = Clock::now() + openLimit;
  connect(lookUp(end), end);
  auto& socket = line_->stream;
  Error ignored;  // the line carries the same without them
  socket.set_option(tcp::no_delay(true), ignored);
  socket.set_option(tcp::socket::keep_alive(true), ignored);
  watchForLoss(socket.native_handle());
  socket.non_blocking(true);
  line_->start(std::move(events));
}

void TcpTransport::write(std::vector<std::uint8_t> bytes) { line_->write(std::move(bytes)); }

void TcpTransport::close() {
  if (!line_->stop()) return;
  Error ignored;
  line_->stream.close(ignored);
}

// Runs the context, too: what ends this wait stops it.
bool TcpTransport::runUntil(const std::function<bool()>& isDone, Clock::time_point end) {
  const Waker waker([this] { context_.stop(); });
  for (;;) {
    context_.restart();  // before looking: from now on a stop counts
    if (isDone()) return true;
    if (Clock::now() >= end) return false;
    if (isCancelled()) throw OpenFailure(FailureKind::Cancelled, "cancelled");
    context_.run_one_until(end);
  }
}

TcpTransport::Endpoints TcpTransport::lookUp(Clock::time_point end) {
  const TcpName address = tcpNameIn(name_);
  const HostLookup lookup(context_, address.host, address.port);
  if (!runUntil([&lookup] { return lookup.isDone(); }, end)) {
    throw OpenFailure(FailureKind::System, "no name server answers within " + secondsText(openLimit));
  }
  Error error;
  auto endpoints = lookup.result(error);
  if (error) throw failureOf(error);
  return endpoints;
}

// One after the other, so that a server with room for one host never sees two; each has its share of the time.
void TcpTransport::connect(const Endpoints& endpoints, Clock::time_point end) {
  Error error = asio::error::host_not_found;
  for (std::size_t i = 0; error && i < endpoints.size(); ++i) {
    const auto now = Clock::now();
    error = connectTo(endpoints[i], now + (end - now) / (endpoints.size() - i));
  }
  if (error) throw failureOf(error);
}

TcpTransport::Error TcpTransport::connectTo(const tcp::endpoint& endpoint, Clock::time_point end) {
  auto& socket = line_->stream;
  Error ignored;
  socket.close(ignored);                                         // of the address before
  const auto result = std::make_shared<std::optional<Error>>();  // may come when nobody waits for it any more
  socket.async_connect(endpoint, [result](const Error& error) { *result = error; });
  if (!runUntil([&result] { return result->has_value(); }, end)) return asio::error::timed_out;
  return **result;
}

}  // namespace BX::link
