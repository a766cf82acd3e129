#include "Ports.h"

#include <algorithm>
#include <array>
#include <optional>

#include "PortLookup.h"
#include "Tool.h"
#include "bx/BXSerialLink.h"
#include "morva/KeyedAccess.h"
#include "platform/Utf8.h"

namespace BX::tool {

namespace {

using Json = MORVA::MORVADataTypeJSON;
using MORVA::getText;

void setIfKnown(Json& document, const char* key, const std::string& text) {
  if (!text.empty()) MORVA::setText(document, key, text);
}

Json documentOf(const link::PortInfo& port, const Holders& holders) {
  Json document;
  MORVA::setText(document, "port", port.port);
  setIfKnown(document, "stableName", port.stableName);
  setIfKnown(document, "description", port.description);
  setIfKnown(document, "transport", port.transport);
  if (port.usbVendorId != 0) {
    MORVA::setInteger(document, "usbVendorId", port.usbVendorId);
    MORVA::setInteger(document, "usbProductId", port.usbProductId);
  }
  setIfKnown(document, "manufacturer", port.manufacturer);
  setIfKnown(document, "product", port.product);
  setIfKnown(document, "serialNumber", port.serialNumber);
  setIfKnown(document, "bluetoothAddress", port.bluetoothAddress);
  if (const auto holder = holders.of(port.port)) {
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
  if (adapter.empty()) adapter = transport == "native" ? "built in" : transport;
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
  const Holders holders;
  std::vector<Json> ports;
  for (const auto& port : link::listPorts()) ports.push_back(documentOf(port, holders));
  if (ports.empty()) tool.console.note("No serial port found.");
  if (tool.console.isOutputTerminal() && !options.json && !ports.empty()) {
    for (const auto& line : portsTable(ports)) tool.console.data(line);
    return;
  }
  for (const auto& port : ports) tool.console.data(port.toString());
}

}  // namespace BX::tool
