#include "tools/bx-range/Broker.h"

#include <gmock/gmock.h>

#include "RealBroker.h"

namespace BX::range {
namespace {

TEST(Broker, BeginsEachConnectionWithNothingOfTheOneBefore) {
  test::RealBroker real;
  test::Client sender(real, "sender", {}, {"t/will", "over", true});
  test::Client reader(real, "reader", {"t/#"});
  EXPECT_FALSE(sender.broker.publish("t/early", "x", false));
  sender.connect();
  EXPECT_TRUE(sender.broker.publish("t/kept", "1", true));
  sender.broker.finish(std::chrono::seconds(10));
  reader.await("t/kept", "1");
  EXPECT_TRUE(reader.last["t/kept"].isRetained);
  reader.await("t/will", "over");

  sender.connect();
  real.kill();
  sender.broker.publish("t/gone", "2", false);  // whether or not the loss was noticed: it is not sent later
  real.start();
  sender.connect();
  reader.connect();
  sender.broker.publish("t/new", "3", false);
  sender.broker.finish(std::chrono::seconds(10));
  reader.await("t/new", "3");
  EXPECT_FALSE(reader.last.contains("t/early") || reader.last.contains("t/gone"));
}

}  // namespace
}  // namespace BX::range
