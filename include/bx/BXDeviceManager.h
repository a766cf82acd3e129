// The registry of devices, one for each serial port, and everything that a host does with them.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "bx/BXDevice.h"
#include "bx/BXSerialCom.h"
#include "bx/export.h"
#include "morva/MORVADataTypeJSON.h"

namespace BX {

class BX_DEVICE_API BXDeviceManager {
 public:
  using Json = MORVA::MORVADataTypeJSON;

  BXDeviceManager();
  BXDeviceManager(const BXDeviceManager& other);
  BXDeviceManager& operator=(const BXDeviceManager& other);
  ~BXDeviceManager();

  // ---- Registry
  bool addDevice(const std::string& port, const std::string& deviceName);
  BXDevice& getDevice(const std::string& port);
  bool removeDevice(const std::string& port);
  bool internalRemoveDevice(const char* port);

  // ---- Connecting
  Json connectDevice(const std::string& port, bool skipStartup);
  Json connectDevices();
  void disconnectDevice(const std::string& port);
  void disconnectDevices();

  // ---- Settings
  Json getDeviceSettings(const std::string& port);
  void setDeviceSettings(const std::string& port, const Json& settings);
  bool setupDeviceSettings(const std::string& port, const Json& settings);
  bool setSessionSettings(const std::string& port, const Json& settings);
  void setDeviceMode(const std::string& port, BXSerialCom::DeviceMode mode);
  void setCallBackFunction(const std::string& port, std::function<void()> callBack);

  // ---- Training
  void startTraining(const std::string& port);
  void stopTraining(const std::string& port);
  void stopTraining();

  // ---- Targets and stored results
  bool createTargetOnDevice(const std::string& port, const std::string& targetType, Json& target);
  void clearTargetData(const std::string& port);
  std::vector<Json> downloadDeviceTrainingSession(const std::string& port);
  void clearTrainingData(const std::string& port);

 private:
  struct Entry;  // a device, and the lock under which one operation at a time uses it
  class Turn;    // an entry that an operation uses
  using Devices = std::map<std::string, std::shared_ptr<Entry>>;

  bool retireDevice(const std::string& port, const Entry& own);
  static void release(Entry& entry);
  std::shared_ptr<Entry> find(const std::string& port) const;
  std::shared_ptr<Entry> extract(const std::string& port, const Entry* own = nullptr);
  Turn take(const std::string& port) const;
  std::vector<std::string> ports() const;
  Devices copyDevices() const;
  void connectInto(Json& result, const std::string& port, bool skipStartup);
  void connectListed(Json& result, const std::string& port);
  void drop(const std::string& port, const Turn& device);

  mutable std::mutex registryMutex;
  Devices devices;
  Devices hungUp;  // removed by their own listening thread, kept for the references that the host may hold
};

}  // namespace BX
