// The names of ports that are reached over TCP: tcp://HOST:PORT.
#pragma once

#include <string>
#include <string_view>

namespace BX::link {

struct TcpName {
  std::string host;  // an IPv6 address without its brackets
  std::string port;  // 1 to 65535
};

bool isTcpName(std::string_view port);
// Of a port's name for which isTcpName() holds. Throws OpenFailure with the reason when it is none all the same.
TcpName tcpNameIn(std::string_view name);

}  // namespace BX::link
