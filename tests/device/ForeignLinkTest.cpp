// A link that fails in ways of its own: the linker sends the device library's calls of two members through here.
#include "bx/BXDeviceManager.h"
#include "tests/device/DeviceTesting.h"

namespace {

bool cannotClose = false;
bool initializes = true;

}  // namespace

extern "C" {

bool __real__ZN2BX11BXSerialCom9closePortEv(BX::BXSerialCom* link);
bool __wrap__ZN2BX11BXSerialCom9closePortEv(BX::BXSerialCom* link) {
  if (cannotClose) throw std::runtime_error("cannot close");
  return __real__ZN2BX11BXSerialCom9closePortEv(link);
}

bool __real__ZN2BX11BXSerialCom14initializePortERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE(
    BX::BXSerialCom* link, const std::string& port);
bool __wrap__ZN2BX11BXSerialCom14initializePortERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE(
    BX::BXSerialCom* link, const std::string& port) {
  return __real__ZN2BX11BXSerialCom14initializePortERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE(link,
                                                                                                           port) &&
         initializes;
}
}

namespace BX::test {
namespace {

TEST(ForeignLink, ThatCannotCloseItsPortLosesNoDevice) {
  LoopbackDevice refuses(refusing("6F02"), "b");
  BXDeviceManager manager;
  manager.addDevice("a", "");
  manager.addDevice("b", "");
  cannotClose = true;
  EXPECT_ANY_THROW(manager.removeDevice("a"));
  EXPECT_ANY_THROW(manager.disconnectDevices());
  EXPECT_FALSE(manager.internalRemoveDevice("b"));
  EXPECT_EQ(manager.connectDevice("b", true).toString(), "{}");
  for (const char* port : {"a", "b"}) EXPECT_NO_THROW(manager.getDevice(port)) << port;
  cannotClose = false;
  EXPECT_TRUE(manager.removeDevice("a"));
  cannotClose = true;
  manager = BXDeviceManager();  // destroys the other one
  cannotClose = false;
}

TEST(ForeignLink, CannotTakeTheNameFromADevice) {
  initializes = false;
  Connection connection(streaming({"CA6A" + std::string(56, '0')}));
  ASSERT_TRUE(connection.connect());
  connection.device.setDevicePort("other");  // not while the port is open
  initializes = true;
  testing::internal::CaptureStdout();
  connection.device.startThread();
  EXPECT_TRUE(connection.simulator.awaitTranscript("< CA6A", 1));
  connection.stop();
  EXPECT_THAT(testing::internal::GetCapturedStdout(), testing::StartsWith("loopback: {"));
}

}  // namespace
}  // namespace BX::test
