// The serial ports as their drivers enter them into the registry, which tells their names and the drivers'.
#include <windows.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <utility>

#include "bx/BXSerialLink.h"
#include "platform/Utf8.h"

namespace BX::link {

std::vector<PortInfo> listPorts() {
  std::vector<PortInfo> ports;
  HKEY key = nullptr;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"HARDWARE\\DEVICEMAP\\SERIALCOMM", 0, KEY_READ, &key) != ERROR_SUCCESS) {
    return ports;
  }
  std::array<wchar_t, 256> driver{};
  std::array<wchar_t, 256> name{};
  for (DWORD i = 0;; ++i) {
    auto driverLength = static_cast<DWORD>(driver.size());
    DWORD nameBytes = sizeof name - sizeof(wchar_t);  // what is stored need not end with a zero
    DWORD type = 0;
    const LSTATUS status = RegEnumValueW(key, i, driver.data(), &driverLength, nullptr, &type,
                                         reinterpret_cast<BYTE*>(name.data()), &nameBytes);
    if (status == ERROR_MORE_DATA) continue;  // no port has such a name
    if (status != ERROR_SUCCESS) break;
    if (type != REG_SZ) continue;
    name.at(nameBytes / sizeof(wchar_t)) = 0;
    PortInfo info;
    info.port = platform::utf8Of(name.data());
    info.description = platform::utf8Of(std::filesystem::path(driver.data()).filename());  // of such as \\Device\\VCP0
    info.transport.clear();
    ports.push_back(std::move(info));
  }
  RegCloseKey(key);
  // COM9 comes before COM10.
  std::ranges::sort(ports, {}, [](const PortInfo& info) { return std::pair(info.port.size(), info.port); });
  return ports;
}

}  // namespace BX::link
