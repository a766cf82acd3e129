#include "viewer/HttpHost.h"

#include <utility>  // Boost's headers need it before them
// clang-format off
#include <boost/algorithm/string/predicate.hpp>
#include <boost/asio/ip/address.hpp>
// clang-format on
#include <algorithm>
#include <string>

namespace BX::viewer {

namespace {

constexpr auto npos = std::string_view::npos;

bool isPort(std::string_view text) {
  return text.empty() || (text.front() == ':' && text.find_first_not_of("0123456789", 1) == npos);
}

}  // namespace

bool isLocalHost(std::string_view host, std::string_view name) {
  boost::system::error_code error;
  if (host.starts_with('[')) {
    const auto end = host.find(']');
    if (end == npos || !isPort(host.substr(end + 1))) return false;
    boost::asio::ip::make_address_v6(std::string(host.substr(1, end - 1)), error);
    return !error;
  }
  const auto end = std::min(host.find(':'), host.size());
  if (!isPort(host.substr(end))) return false;
  const std::string told(host.substr(0, end));
  boost::asio::ip::make_address_v4(told, error);
  return !error || boost::iequals(told, "localhost") || (!told.empty() && boost::iequals(told, name));
}

}  // namespace BX::viewer
