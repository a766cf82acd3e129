// What differs between operating systems in a line over TCP.
#pragma once

#include <utility>

#include <boost/asio/ip/tcp.hpp>

namespace BX::link {

using SocketHandle = boost::asio::ip::tcp::socket::native_handle_type;

// Acknowledges what was just read at once, where a program can ask for that: a server that holds small packets back
// until the last one is acknowledged (Nagle's algorithm) would wait up to 40 ms for each. Holds for a while only.
void acknowledgeAtOnce(SocketHandle socket);

// Sees to it that a silent line whose far end is gone fails within 20 s.
void watchForLoss(SocketHandle socket);

// From now on the library that holds this function stays in memory, whoever unloads it.
void keepLoaded();

}  // namespace BX::link
