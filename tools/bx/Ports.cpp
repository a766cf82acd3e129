#include <libserialport.h>

#include <filesystem>
#include <memory>
#include <optional>

#include "Tool.h"
#include "morva/KeyedAccess.h"

namespace BX::tool {

namespace {

namespace fs = std::filesystem;
using Json = MORVA::MORVADataTypeJSON;

// Whether a process has the port open, told from the descriptors that can be seen: nothing is opened, so that no
// device is disturbed. Nothing when not all processes can be looked into and none of the others has it.
std::optional<bool> isInUse(const std::string& port) {
  bool sawAll = true;
  std::error_code error;
  for (const auto& process : fs::directory_iterator("/proc", error)) {
    const std::string name = process.path().filename();
    if (name.find_first_not_of("0123456789") != std::string::npos) continue;
    fs::directory_iterator descriptors(process.path() / "fd", error);
    if (error == std::errc::permission_denied) sawAll = false;
    if (error) continue;
    for (const auto& descriptor : descriptors) {
      if (fs::read_symlink(descriptor.path(), error) == port) return true;
    }
  }
  return sawAll ? std::optional(false) : std::nullopt;
}

void setIfKnown(Json& document, const char* key, const char* text) {
  if (text != nullptr && *text != '\0') MORVA::setText(document, key, text);
}

const char* transportName(const sp_port* port) {
  switch (sp_get_port_transport(port)) {
    case SP_TRANSPORT_USB:
      return "USB";
    case SP_TRANSPORT_BLUETOOTH:
      return "Bluetooth";
    case SP_TRANSPORT_NATIVE:
      break;
  }
  return "native";
}

Json describe(const sp_port* port) {
  Json document;
  MORVA::setText(document, "port", sp_get_port_name(port));
  setIfKnown(document, "description", sp_get_port_description(port));
  MORVA::setText(document, "transport", transportName(port));
  int vendor = 0;
  int product = 0;
  if (sp_get_port_usb_vid_pid(port, &vendor, &product) == SP_OK) {
    MORVA::setInteger(document, "usbVendorId", vendor);
    MORVA::setInteger(document, "usbProductId", product);
  }
  setIfKnown(document, "manufacturer", sp_get_port_usb_manufacturer(port));
  setIfKnown(document, "product", sp_get_port_usb_product(port));
  setIfKnown(document, "serialNumber", sp_get_port_usb_serial(port));
  setIfKnown(document, "bluetoothAddress", sp_get_port_bluetooth_address(port));
  if (const auto inUse = isInUse(sp_get_port_name(port))) MORVA::setBoolean(document, "inUse", *inUse);
  return document;
}

}  // namespace

void runPorts(Tool& tool, const PortsOptions&) {
  sp_port** ports = nullptr;
  if (sp_list_ports(&ports) != SP_OK) throw Failure(deviceFailed, "ports: list: the system does not tell its ports");
  const std::unique_ptr<sp_port*, void (*)(sp_port**)> owner(ports, sp_free_port_list);
  if (*ports == nullptr) tool.console.note("No serial port found.");
  for (sp_port** port = ports; *port != nullptr; ++port) tool.console.data(describe(*port).toString());
}

}  // namespace BX::tool
