// Connecting devices, one or all.
#include <iostream>

#include "manager/Registry.h"
#include "morva/KeyedAccess.h"

namespace BX {

MORVA::MORVADataTypeJSON BXDeviceManager::connectDevice(const std::string& port, bool skipStartup) {
  Json result;
  try {
    connectInto(result, port, skipStartup);
  } catch (...) {  // what was read until then is the result
  }
  return result;
}

void BXDeviceManager::connectInto(Json& result, const std::string& port, bool skipStartup) {
  std::shared_ptr<Entry> namesake;  // the entry whose port is this device's name: the empty name, for a kept device
  const Connector connector(registry->find(port));
  const LockedDevice device = registry->lock(port);
  if (!device) return;
  if (device->getSerialCom().isConnected()) {
    setDocument(result, port, device->getDeviceSettings());
    if (skipStartup) namesake = registry->remove(device->deviceName);
    return;
  }
  if (skipStartup) {
    namesake = registry->find(device->deviceName);
    if (namesake && namesake->device.getSerialCom().isConnected()) {
      registry->remove(port, &device.entry());
      return;
    }
  }
  if (!device->connectDevice(skipStartup)) return drop(port, device);

  device->setRemoveDeviceCallback(
      [this, own = &device.entry()](const char* hungUpPort) { return retireDevice(hungUpPort, *own); });
  device->setDeviceMode(BXSerialCom::RESTING, false);
  if (!device->getParameterSetFrames() || !isRegistered(port, device)) return drop(port, device);
  setDocument(result, port, device->getDeviceSettings());
}

MORVA::MORVADataTypeJSON BXDeviceManager::connectDevices() {
  Json result;
  for (const auto& port : registry->ports()) {
    try {
      connectListed(result, port);
    } catch (...) {  // a device that fails so badly is left out of the result
    }
  }
  return result;
}

void BXDeviceManager::connectListed(Json& result, const std::string& port) {
  const Connector connector(registry->find(port));
  const LockedDevice device = registry->lock(port);
  if (!device) return;
  if (!device->getSerialCom().isConnected()) {
    std::cout << "Connecting device on port: " << port << std::endl;
    if (!device->connectDevice(false)) return drop(port, device);
    device->setDeviceMode(BXSerialCom::RESTING, false);
    device->getParameterSetFrames();
    if (!isRegistered(port, device)) return drop(port, device);
  }
  setDocument(result, port, device->getDeviceSettings());
}

// Another thread may have removed it while it was being connected, or its last stream.
bool BXDeviceManager::isRegistered(const std::string& port, const LockedDevice& device) const {
  return registry->find(port).get() == &device.entry();
}

// The device is locked: nobody else uses it.
void BXDeviceManager::drop(const std::string& port, const LockedDevice& device) {
  device->disconnectDevice();
  registry->remove(port, &device.entry());
}

}  // namespace BX
