// The registry of devices, one for each serial port, and everything that a host does with them.
//
// Ports are named as BXSerialCom::initializePort takes them (/dev/ttyUSB0, tcp://HOST:PORT), compared byte by byte, and
// neither checked nor normalised. Operations that walk all devices go by ascending name. On a port that is not
// registered an operation sends nothing and gives its empty or false result.
//
// Every operation blocks until its exchanges are over; BXDevice.h tells what an exchange is, how long it can take and
// what each step sends. "Mode 6 ... mode 4" is one exchange each, skipped when the device is in that mode already, and
// never examined: what follows a refused mode fails by itself. After any operation but startTraining and setDeviceMode
// the device is back in mode 4.
//
// Exceptions leave no addDevice, internalRemoveDevice, connectDevice, connectDevices or createTargetOnDevice. From the
// others they may come, std::bad_alloc above all; link and device failures are results, never exceptions. When
// the closing of a port throws, its device stays registered.
//
// Threads. All members may be called from any thread at any time, except construction, destruction and assigning to
// this manager, which no other call on it may overlap.
//   - Operations on different ports run at the same time.
//   - Operations on one port run one after the other, copying included.
//   - A removal waits for no operation: it closes the port, which makes an operation under way on another thread fail
//     at once, and the device is destroyed when that operation ends. It waits for a handler that runs on another
//     thread. Of two removals of one device the second returns at once, with false.
//   - takeTrainingFrames and getDeviceState wait for nobody.
//   - A hang-up during a stream removes the device, on its listening thread, beside whatever else runs. No operation
//     waits for a device that has hung up.
//   - Inside a handler or the remove-device callback everything may be called. There an operation on the same port may
//     have to wait for one of another thread, which in turn waits for the handler no longer than 5 s. But two handlers
//     that remove each other's devices at the same time wait for each other.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
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

  // No devices.
  BXDeviceManager();
  // Copies every device as BXDevice's copy constructor does: closed, without callbacks and records.
  BXDeviceManager(const BXDeviceManager& other);
  // The same; then destroys the devices that were here before.
  BXDeviceManager& operator=(const BXDeviceManager& other);
  // Destroys the devices without disconnecting them first: 500 ms each.
  ~BXDeviceManager();

  // ---- Registry. The manager owns its devices.

  // Registers a device that is not connected. Opens and sends nothing; takes 500 ms. `deviceName` is given up at once:
  // a kept device has an empty name. False when the port is registered already, and that device is then untouched.
  bool addDevice(const std::string& port, const std::string& deviceName);
  // The registered device, to be used as BXDevice.h says and not beside an operation on its port. Throws
  // std::out_of_range, naming the port, when there is none. The reference ends with removeDevice,
  // internalRemoveDevice, disconnectDevice, disconnectDevices, a connect that fails, assignment and destruction. It
  // outlives a hang-up: the device is then closed and no longer registered, and else as it was, its records included.
  // It is destroyed when its port is added anew, or by disconnectDevices, assignment or destruction.
  BXDevice& getDevice(const std::string& port);
  // The same for a host of several threads: the device lives as long as somebody shares it, removed or not, and the
  // last one to let go of it destroys it. Null when none is registered.
  std::shared_ptr<BXDevice> shareDevice(const std::string& port) const;
  // The registered ports.
  std::vector<std::string> getPorts() const;
  // Closes the port and destroys the device: 500 ms. False when the port is not registered.
  bool removeDevice(const std::string& port);
  // The same for a C string; false also on any exception.
  bool internalRemoveDevice(const char* port);

  // What can be told at any time of the registered device, or of the one that was hung up, until its port is added
  // anew; nothing when there is neither. Waits for nobody.
  struct DeviceState {
    bool hungUp = false;  // during a stream; the device is not registered any more
    bool connected = false;
    bool streaming = false;
    bool downloading = false;
    bool error = false;                 // BXDevice::hasError
    std::size_t recordsWaiting = 0;     // for takeTrainingFrames
    std::uint64_t recordsReceived = 0;  // since the port was opened
    BXDevice::DownloadProgress progress;
  };
  std::optional<DeviceState> getDeviceState(const std::string& port) const;

  // ---- Connecting

  // Connects the device (BXDevice::connectDevice: 0.5 s, or 2.5 s without `skipStartup`, and up to 9 exchanges), asks
  // to have it removed when it hangs up during a stream, commands mode 4 and reads the parameter-set frames (11
  // exchanges). The result is {port: device settings}; empty when any of it failed, and then the device is removed and
  // must be added again. A device that is connected already is sent nothing. With `skipStartup`, the device that is
  // registered under the empty port name, if there is one, gives way when this one is connected already, and keeps this
  // one from connecting, which removes it, when it is connected itself.
  Json connectDevice(const std::string& port, bool skipStartup);
  // The same for every device, one after the other, always with the startup command; each that is not connected yet is
  // named on standard output ("Connecting device on port: "). The result has a member for each connected device. One
  // that cannot be connected is removed; one whose frames cannot be read is kept, with the settings read so far.
  // None of them is removed when it hangs up.
  Json connectDevices();
  // As removeDevice.
  void disconnectDevice(const std::string& port);
  // Disconnects every device, naming it on standard output ("Disconnecting device on port: "), then destroys them all:
  // 500 ms each.
  void disconnectDevices();

  // ---- Settings

  // Reads the parameter-set frames (11 exchanges; a failure counts for nothing) and returns the device settings.
  Json getDeviceSettings(const std::string& port);
  // Replaces the device settings, then mode 6, writes device and session settings (4 exchanges), mode 4.
  void setDeviceSettings(const std::string& port, const Json& settings);
  // Mode 6, replaces the device settings, writes device and session settings (4 exchanges), mode 4. True when all four
  // were accepted.
  bool setupDeviceSettings(const std::string& port, const Json& settings);
  // Replaces the session settings; sends nothing. True for a registered port.
  bool setSessionSettings(const std::string& port, const Json& settings);
  // Commands any mode, 1 exchange.
  void setDeviceMode(const std::string& port, BXSerialCom::DeviceMode mode);
  // Kept by the device and never called.
  void setCallBackFunction(const std::string& port, std::function<void()> callBack);

  // ---- Training

  // Forgets the device's records and starts the stream that its session settings ask for (BXDevice::startThread; 1
  // exchange). Records are fetched with takeTrainingFrames or the members of getDevice(port), and pile up until then.
  void startTraining(const std::string& port);
  // Mode 4 (1 exchange), which ends the stream, then waits until the payloads that have arrived are handled. Inside a
  // stream handler it returns at once, and the stream ends when the handler returns.
  void stopTraining(const std::string& port);
  // The same for every device, one after the other, streaming or not.
  void stopTraining();
  // The records that have come since the last call, which are then forgotten: while the device streams, after the
  // stream has ended, and after the port was hung up, until it is added anew. Waits for nobody: any thread may ask at
  // any time. Empty during a download or clear of stored results, whose records these then are.
  std::vector<Json> takeTrainingFrames(const std::string& port);
  // The first `most` of them at most; the others wait on.
  std::vector<Json> takeTrainingFrames(const std::string& port, std::size_t most);

  // ---- Targets and stored results. Not while the device streams.

  // Mode 6, keeps `target` and uploads it, mode 4. "RING" uploads a ring target (4 exchanges), any other type a
  // silhouette target (up to 66). True when the device accepted all of it.
  bool createTargetOnDevice(const std::string& port, const std::string& targetType, Json& target);
  // Mode 6, fetches the target stored as `number`, "RING" or any other type as above (4 or 66 exchanges), mode 4. It is
  // kept, and `target` becomes a copy of it. False, with `target` unchanged, when any of it failed.
  bool downloadTarget(const std::string& port, const std::string& targetType, std::int32_t number, Json& target);
  // The kept targets, as BXDevice::getAllTargets gives them.
  std::vector<Json> getTargets(const std::string& port);
  // Forgets the kept targets; sends nothing.
  void clearTargetData(const std::string& port);
  // Mode 6, fetches every stored record (BXDevice::sendDownloadFrame), mode 4. The records in the device's order; empty
  // also when it failed, which getDevice(port).hasError() tells.
  std::vector<Json> downloadDeviceTrainingSession(const std::string& port);
  // Mode 6, clears the stored results (7 exchanges), mode 4. Whether it worked, getDevice(port).hasError() tells.
  void clearTrainingData(const std::string& port);

 private:
  struct Entry;
  class RecordsInUse;
  class LockedDevice;
  class Connector;
  class Registry;

  bool remove(const std::string& port, Entry& entry);
  bool retireDevice(const std::string& port, Entry& own);
  void connectInto(Json& result, const std::string& port, bool skipStartup);
  void connectListed(Json& result, const std::string& port);
  bool isRegistered(const std::string& port, const LockedDevice& device) const;
  void drop(const std::string& port, const LockedDevice& device);

  const std::unique_ptr<Registry> registry;
};

}  // namespace BX
