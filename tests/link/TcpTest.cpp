// Lines over TCP that cannot be had, and that end.
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <netdb.h>

#include <atomic>
#include <boost/asio/ip/tcp.hpp>
#include <thread>

#include "bx/BXDeviceManager.h"
#include "bx/BXSerialLink.h"
#include "bx/Waiting.h"
#include "tests/support/Event.h"
#include "tests/support/Table.h"

static std::atomic<int> lookUps = 0;
static std::atomic<bool> isSilent = false;  // the name server, when it is asked for one host

// In the place of the C library's, for the whole program.
extern "C" int getaddrinfo(const char* host, const char* service, const addrinfo* hints, addrinfo** found) {
  static const auto original = reinterpret_cast<decltype(&getaddrinfo)>(dlsym(RTLD_NEXT, "getaddrinfo"));
  ++lookUps;
  if (std::string(host) == "slow") isSilent.wait(true);
  return original(host, service, hints, found);
}

namespace BX {
namespace {

using boost::asio::ip::tcp;
using link::FailureKind;

class TcpTest : public testing::Test {
 protected:
  bool opens(const std::string& name) {
    com.initializePort(port = name);
    return com.openPort();
  }
  std::string address() const { return "tcp://127.0.0.1:" + std::to_string(server.local_endpoint().port()); }

  boost::asio::io_context context;
  tcp::acceptor server{context, tcp::endpoint(boost::asio::ip::address_v4::loopback(), 0)};
  std::string port;
  BXSerialCom com;
};

TEST_F(TcpTest, TellsWhatIsWrongWithAName) {
  for (const auto& row : test::rowsOf(test::textIn(BX_SOURCE_DIR "/tests/link/names.txt"))) {
    EXPECT_FALSE(opens(row.at(0)));
    EXPECT_EQ(link::lastError(port), row.at(1)) << port;
  }
}

TEST_F(TcpTest, TellsHowALineEnds) {
  for (const bool reset : {false, true}) {
    ASSERT_TRUE(opens(address())) << link::lastError(port);
    tcp::socket socket = server.accept();
    if (reset) socket.set_option(tcp::socket::linger(true, 0));
    socket.close();
    EXPECT_FALSE(com.poll());
    EXPECT_EQ(link::lastFailure(port).kind, FailureKind::HungUp);
    EXPECT_EQ(link::lastError(port), reset ? "the connection was reset" : "the connection was closed by the server");
    EXPECT_FALSE(com.isConnected());
  }
}

TEST_F(TcpTest, EndsAnOpeningInTimeOrWhenTheHostWantsIt) {
  server.listen(0);
  std::vector<tcp::socket> queue;  // that nobody accepts: who comes after them hears nothing
  for (int i = 0; i < 4; ++i) queue.emplace_back(context).async_connect(server.local_endpoint(), [](auto) {});
  EXPECT_FALSE(opens(address()));
  EXPECT_EQ(link::lastError(port), "no answer within 3.0 s");

  isSilent = true;
  for (const std::string& name : {address(), std::string("tcp://slow:4001")}) {
    for (const auto kind : {FailureKind::Closed, FailureKind::Cancelled}) {
      link::Cancellation cancellation;
      const link::Cancellation::Scope scope(cancellation);
      std::thread ender([&, before = lookUps.load()] {
        test::await([before] { return lookUps > before; });
        kind == FailureKind::Closed ? static_cast<void>(com.closePort()) : cancellation.request();
      });
      EXPECT_FALSE(opens(name));
      ender.join();
      EXPECT_EQ(link::lastFailure(port).kind, kind) << name;
    }
  }

  setWaitFunction([](auto) {});
  BXDeviceManager manager;
  manager.addDevice(port, {});
  std::thread remover([&, before = lookUps.load()] {
    test::await([before] { return lookUps > before; });
    manager.removeDevice(port);
  });
  manager.connectDevice(port, true);
  remover.join();
  setWaitFunction({});
  EXPECT_EQ(link::lastFailure(port).kind, FailureKind::Closed) << "and is not tried again";
  isSilent = false;
  isSilent.notify_all();
}

}  // namespace
}  // namespace BX
