// Lines over TCP that cannot be had, and that end.
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <netdb.h>

#include <atomic>
#include <boost/asio/ip/tcp.hpp>
#include <thread>

#include "bx/BXDeviceManager.h"
#include "bx/BXSerialLink.h"
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
  bool opens(const std::string& name) { return com.initializePort(port = name) && com.openPort(); }

  boost::asio::io_context context;
  tcp::acceptor server{context, {boost::asio::ip::address_v4::loopback(), 0}};
  const std::string here = "tcp://127.0.0.1:" + std::to_string(server.local_endpoint().port());
  std::string port;
  BXSerialCom com;
};

TEST_F(TcpTest, TellsWhatIsWrongWithANameOrHowALineHasEnded) {
  for (const auto& row : test::rowsOf(test::textIn(BX_SOURCE_DIR "/tests/link/names.txt"))) {
    EXPECT_FALSE(opens(row.at(0)));
    EXPECT_EQ(link::lastError(port), row.at(1)) << port;
  }
  for (const bool reset : {false, true}) {
    ASSERT_TRUE(opens(here)) << link::lastError(port);
    tcp::socket socket = server.accept();
    socket.set_option(tcp::socket::linger(reset, 0));
    socket.close();
    EXPECT_FALSE(com.poll());
    EXPECT_EQ(link::lastFailure(port).kind, FailureKind::HungUp);
    EXPECT_EQ(link::lastError(port), reset ? "the connection was reset" : "the connection was closed by the server");
  }
}

TEST_F(TcpTest, EndsAnOpeningInTimeOrWhenTheHostWantsIt) {
  server.listen(0);
  std::vector<tcp::socket> queue;  // that nobody accepts: who comes after them hears nothing
  for (int i = 0; i < 4; ++i) queue.emplace_back(context).async_connect(server.local_endpoint(), [](auto) {});
  EXPECT_FALSE(opens(here));
  EXPECT_EQ(link::lastError(port), "no answer within 3.0 s");

  const auto failureOf = [&](const auto& opening, const auto& end) {
    std::thread ender([&end, before = lookUps.load()] {
      test::await([before] { return lookUps > before; });
      end();
    });
    opening();
    ender.join();
    return link::lastFailure(port).kind;
  };
  isSilent = true;
  for (const std::string& name : {here, std::string("tcp://slow:4001")}) {
    EXPECT_EQ(failureOf([&] { opens(name); }, [&] { com.closePort(); }), FailureKind::Closed) << name;
    link::Cancellation cancellation;
    const link::Cancellation::Scope scope(cancellation);
    EXPECT_EQ(failureOf([&] { opens(name); }, [&] { cancellation.request(); }), FailureKind::Cancelled) << name;
  }
  BXDeviceManager manager;
  manager.addDevice(port, {});
  EXPECT_EQ(failureOf([&] { manager.connectDevice(port, true); }, [&] { manager.removeDevice(port); }),
            FailureKind::Closed)
      << "and is not tried again";
  isSilent = false;
  isSilent.notify_all();
}

}  // namespace
}  // namespace BX
