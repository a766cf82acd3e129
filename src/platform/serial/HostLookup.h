// Finding the addresses of a host by its name, without waiting for name servers longer than one wants to.
#pragma once

#include <utility>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/system/error_code.hpp>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace BX::link {

// The system's resolver cannot be ended: it runs on a thread of its own, which is left behind when nobody waits for it
// any more. The library then stays loaded.
class HostLookup {
 public:
  using Endpoints = std::vector<boost::asio::ip::tcp::endpoint>;

  // Begins; stops `waiter`, which outlives this, when it is done.
  HostLookup(boost::asio::io_context& waiter, const std::string& host, const std::string& service);
  ~HostLookup();
  HostLookup(const HostLookup&) = delete;
  HostLookup& operator=(const HostLookup&) = delete;

  bool isDone() const;
  // Once it is done: the endpoints, in the order in which to try them; none, and the error, when it failed.
  Endpoints result(boost::system::error_code& error) const;

 private:
  struct State;
  std::shared_ptr<State> state_;
  std::thread thread_;
};

}  // namespace BX::link
