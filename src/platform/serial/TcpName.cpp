#include "platform/serial/TcpName.h"

#include <algorithm>
#include <boost/asio/ip/address_v6.hpp>
#include <charconv>
#include <cstdint>

#include "bx/BXSerialLink.h"

namespace BX::link {

namespace {

constexpr std::string_view scheme = "tcp://";

OpenFailure badName(const std::string& reason) { return {FailureKind::NoSuchPort, "no tcp://HOST:PORT: " + reason}; }

bool isHostName(std::string_view host) {
  return std::ranges::all_of(host, [](unsigned char c) { return c > ' ' && c != 0x7F && c != '/'; });
}

}  // namespace

TcpName tcpNameIn(std::string_view name) {
  std::string_view rest = name;
  constexpr auto npos = std::string_view::npos;
  rest.remove_prefix(scheme.size());
  const bool isBracketed = rest.starts_with('[');
  const auto end = std::min(rest.size(), rest.find(isBracketed ? ']' : ':'));
  const std::string host(isBracketed ? rest.substr(1, end - 1) : rest.substr(0, end));
  if (isBracketed && end == rest.size()) throw badName("the ] is missing");
  rest.remove_prefix(isBracketed ? end + 1 : end);
  if (rest.find(':', 1) != npos) throw badName("an IPv6 address stands in brackets");
  if (host.empty()) throw badName("the host is missing");
  boost::system::error_code error;
  if (isBracketed) boost::asio::ip::make_address_v6(host, error);
  if (error) throw badName("in the brackets stands no IPv6 address");
  if (!isHostName(host)) throw badName("no host has such a name");
  if (!rest.starts_with(':') || rest.size() == 1) throw badName("no port's number follows the host");
  rest.remove_prefix(1);
  std::uint16_t port = 0;
  const auto read = std::from_chars(rest.data(), rest.data() + rest.size(), port);
  if (read.ec != std::errc() || read.ptr != rest.data() + rest.size() || port == 0) {
    throw badName('"' + std::string(rest) + "\" is no port's number (1 to 65535)");
  }
  return {host, std::to_string(port)};
}

bool isTcpName(std::string_view port) { return port.starts_with(scheme); }

}  // namespace BX::link
