#include "Ports.h"

#include <libserialport.h>

#include <algorithm>
#include <array>
#include <memory>
#include <optional>

#include "PortLookup.h"
#include "Tool.h"
#include "morva/KeyedAccess.h"
#include "platform/Utf8.h"

namespace BX::tool {

namespace {

using Json = MORVA::MORVADataTypeJSON;
using MORVA::getText;

constexpr auto* native = "native";

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
  return native;
}

Json documentOf(const sp_port* port, const Holders& holders) {
  Json document;
  const std::string name = sp_get_port_name(port);
  MORVA::setText(document, "port", name);
  setIfKnown(document, "stableName", stableName(name).c_str());
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
  if (const auto holder = holders.of(name)) {
    const bool inUse = holder->process != 0;
    MORVA::setBoolean(document, "inUse", inUse);
    if (inUse) MORVA::setText(document, "heldBy", holder->program);
    if (inUse) MORVA::setInteger(document, "heldByProcess", holder->process);
  }
  return document;
}

// "FT232R USB UART, FTDI, serial number A50285BI", as far as it is known.
std::string adapterOf(const Json& port) {
  std::string adapter = getText(port, "product");
  if (adapter.empty() && !getText(port, "port").ends_with('/' + getText(port, "description"))) {
    adapter = getText(port, "description");
  }
  const std::string transport = getText(port, "transport");
  if (adapter.empty()) adapter = transport == native ? "built in" : transport;
  constexpr std::array<std::array<const char*, 2>, 3> more = {
      {{"manufacturer", ", "}, {"serialNumber", ", serial number "}, {"bluetoothAddress", ", "}}};
  for (const auto& [key, before] : more) {
    if (const std::string text = getText(port, key); !text.empty()) adapter += before + text;
  }
  return adapter;
}

std::string holderOf(const Json& port) {
  if (!port.getDocument().HasMember("inUse")) return "not known";
  if (!MORVA::getBoolean(port, "inUse")) return describe(Holder());
  return describe(Holder{getText(port, "heldBy"), MORVA::getInteger(port, "heldByProcess")});
}

}  // namespace

std::vector<std::string> portsTable(const std::vector<Json>& ports) {
  std::vector<std::array<std::string, 3>> rows = {{"PORT", "HELD BY", "ADAPTER"}};
  for (const auto& port : ports) rows.push_back({getText(port, "port"), holderOf(port), adapterOf(port)});
  std::array<std::size_t, 2> widths{};
  for (auto& row : rows) {
    for (std::size_t column = 0; column < widths.size(); ++column) {
      row[column] = platform::printable(row[column]);
      widths[column] = std::max(widths[column], row[column].size() + 2);
    }
  }
  std::vector<std::string> lines;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    for (std::size_t column = 0; column < widths.size(); ++column) rows[i][column].resize(widths[column], ' ');
    lines.push_back(rows[i][0] + rows[i][1] + rows[i][2]);
    const std::string name = i == 0 ? "" : getText(ports[i - 1], "stableName");
    if (!name.empty()) lines.push_back("  stable name " + name);
  }
  return lines;
}

void runPorts(Tool& tool, const PortsOptions& options) {
  sp_port** list = nullptr;
  if (sp_list_ports(&list) != SP_OK) throw Failure(deviceFailed, "ports: list: the system does not tell its ports");
  const std::unique_ptr<sp_port*, void (*)(sp_port**)> owner(list, sp_free_port_list);
  const Holders holders;
  std::vector<Json> ports;
  for (sp_port** port = list; *port != nullptr; ++port) ports.push_back(documentOf(*port, holders));
  if (ports.empty()) tool.console.note("No serial port found.");
  if (tool.console.isOutputTerminal() && !options.json && !ports.empty()) {
    for (const auto& line : portsTable(ports)) tool.console.data(line);
    return;
  }
  for (const auto& port : ports) tool.console.data(port.toString());
}

}  // namespace BX::tool
