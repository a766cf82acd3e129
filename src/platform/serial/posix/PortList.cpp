// The serial ports as the system's own files tell them; no port is opened.
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <system_error>

#include "bx/BXSerialLink.h"

namespace BX::link {

namespace {

namespace fs = std::filesystem;

// What a file in one line says; empty when there is none.
std::string lineOf(const fs::path& file) {
  std::string line;
  std::getline(std::ifstream(file), line);
  return line;
}

// Virtual terminals have no hardware, and a built-in port without any is of the type 0.
bool isSerialPort(const fs::path& terminal, const std::string& hardware) {
  return !hardware.empty() && hardware.find("/virtual/") == std::string::npos && lineOf(terminal / "type") != "0";
}

std::map<fs::path, std::string> stableNames() {
  std::map<fs::path, std::string> names;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator("/dev/serial/by-id", error)) {
    names.emplace(fs::canonical(entry.path(), error), entry.path());
  }
  return names;
}

int hexadecimal(const std::string& text) { return static_cast<int>(std::strtol(text.c_str(), nullptr, 16)); }

// The adapter is the nearest device above the terminal that has a place on the bus.
void describeUsb(const fs::path& terminal, PortInfo& info) {
  std::error_code error;
  fs::path device = fs::canonical(terminal / "device", error);
  while (device.has_relative_path() && !fs::exists(device / "busnum", error)) device = device.parent_path();
  info.usbVendorId = hexadecimal(lineOf(device / "idVendor"));
  info.usbProductId = hexadecimal(lineOf(device / "idProduct"));
  info.manufacturer = lineOf(device / "manufacturer");
  info.product = lineOf(device / "product");
  info.serialNumber = lineOf(device / "serial");
}

PortInfo describe(const fs::path& terminal, const std::string& hardware) {
  PortInfo info;
  info.port = fs::path("/dev") / terminal.filename();
  if (hardware.find("bluetooth") != std::string::npos) {
    info.transport = "Bluetooth";
    info.bluetoothAddress = lineOf(terminal / "device" / "address");
  } else if (hardware.find("usb") != std::string::npos) {
    info.transport = "USB";
    describeUsb(terminal, info);
  } else {
    info.transport = "native";
  }
  info.description = info.product.empty() ? terminal.filename().string() : info.product;
  return info;
}

}  // namespace

std::vector<PortInfo> listPorts() {
  const auto names = stableNames();
  std::vector<PortInfo> ports;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator("/sys/class/tty", error)) {
    const std::string hardware = fs::read_symlink(entry.path(), error);
    if (!isSerialPort(entry.path(), hardware)) continue;
    PortInfo info = describe(entry.path(), hardware);
    if (const auto found = names.find(info.port); found != names.end()) info.stableName = found->second;
    ports.push_back(std::move(info));
  }
  std::ranges::sort(ports, {}, &PortInfo::port);
  return ports;
}

}  // namespace BX::link
