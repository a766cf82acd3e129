// The serial ports as the system's own files tell them; no port is opened.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
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
bool isSerialPort(const fs::path& terminal) {
  std::error_code error;
  return fs::exists(terminal / "device" / "driver", error) && lineOf(terminal / "type") != "0";
}

std::map<fs::path, std::string> stableNames() {
  std::map<fs::path, std::string> names;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator("/dev/serial/by-id", error)) {
    names.emplace(fs::canonical(entry.path(), error), entry.path());
  }
  return names;
}

// The adapter is the nearest device above the terminal that tells its product.
void describeAdapter(const fs::path& terminal, PortInfo& info) {
  std::error_code error;
  for (fs::path device = fs::canonical(terminal / "device", error); device.has_relative_path();
       device = device.parent_path()) {
    info.product = lineOf(device / "product");
    if (info.product.empty()) continue;
    info.manufacturer = lineOf(device / "manufacturer");
    info.serialNumber = lineOf(device / "serial");
    return;
  }
}

}  // namespace

std::vector<PortInfo> listPorts() {
  const auto names = stableNames();
  std::vector<PortInfo> ports;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator("/sys/class/tty", error)) {
    if (!isSerialPort(entry.path())) continue;
    PortInfo info;
    info.port = fs::path("/dev") / entry.path().filename();
    if (const auto found = names.find(info.port); found != names.end()) info.stableName = found->second;
    describeAdapter(entry.path(), info);
    ports.push_back(std::move(info));
  }
  std::ranges::sort(ports, {}, &PortInfo::port);
  return ports;
}

}  // namespace BX::link
