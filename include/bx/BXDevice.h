// One target device on one serial port.
//
// Every member that talks to the device blocks the calling thread until its exchange is over (BXSerialCom.h tells how
// long that can take), stops at the first exchange that fails and repeats nothing: sending again is the link's work.
// A false result leaves the link's error flag set (hasError).
//
// Threads: a device is used from one thread of the host at a time. While it streams, getTrainingFrames,
// clearTrainingFrames, trainingFrameCount, isDownloading, hasError and stopThread may run beside the listening thread;
// connectDevice, disconnectDevice, transfers, settings and clears must wait until the stream has ended.
#pragma once

#include <atomic>
#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/thread.hpp>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "bx/BXSerialCom.h"
#include "bx/export.h"
#include "morva/MORVADataTypeJSON.h"

namespace BX {

class BX_DEVICE_API BXDevice {
 public:
  using Json = MORVA::MORVADataTypeJSON;
  using Bytes = std::vector<unsigned char>;

  BXDevice();
  BXDevice(const BXDevice& other);
  BXDevice& operator=(const BXDevice&) = delete;
  ~BXDevice();

  // ---- Lifecycle
  bool connectDevice(bool skipStartup);
  void disconnectDevice();
  bool isDeviceInitialized() const;
  bool isDownloading() const;
  bool hasError() const;
  void setError(bool error);

  BXSerialCom& getSerialCom();
  Json& getDeviceSettings();
  Json& getSessionSettings();
  Json& getTarget();
  const std::string& getTargetType() const;

  void setDevicePort(const std::string& port);
  void setDeviceSettings(const Json& settings);
  void setSessionSettings(const Json& settings);
  void setTarget(const Json& target);
  void setCallBackFunction(std::function<void()> callBack);
  void setRemoveDeviceCallback(std::function<bool(const char*)> callback);
  void setUnityCallback(void (*callback)(const char*));
  bool setDeviceMode(const BXSerialCom::DeviceMode& mode, bool flag);

  // ---- Settings
  bool setupDeviceSettings();
  bool getParameterSetFrames();
  bool setParameterSetFrames();
  void processDeviceFrames();

  // ---- Training
  void startThread();
  void stopThread();
  void stop();
  void poll();
  std::vector<Json> getTrainingFrames();
  // The records that have come since, which are then forgotten, whether the device streams or not: across the end of a
  // stream none is lost and none comes twice.
  std::vector<Json> takeTrainingFrames();
  std::size_t trainingFrameCount() const;
  void clearTrainingFrames();

  // ---- Targets
  bool uploadRingTarget(Json& target);
  bool downloadRingTarget(const int& number);
  bool uploadSilhouetteTarget(Json& target);
  bool downloadSilhouetteTarget(const int& number);
  std::vector<Json> getAllTargets() const;
  void clearTargetData();

  // ---- Stored results
  void sendDownloadFrame();
  bool clearTrainingDataOnDevice();

 private:
  friend class BXDeviceManager;  // deviceName is set and read by the registry alone

  void processDeviceInfo();
  void processGetParameterSetFrames();
  void processTrainingData();
  Json processRecord(const Bytes& bytes);
  void processPoll();
  void processTargetDownload();
  void processDownloadTrainingData();
  void processStoredData();
  void downloadFinished();
  bool downloadStoredTargets();
  void decodeStoredRecords();

  unsigned char createParameterControlByte1();
  bool createParameterControlByte2();
  unsigned char createParameterSet1OperatingModeControlByte1();
  unsigned char createParameterSet1OperatingModeControlByte2();
  void processParameterControlByte1(const unsigned char* byte);
  void processParameterSet1OperatingModeControlByte1(const unsigned char* byte);

  unsigned char createRingControlByte1(Json& target);
  unsigned char createRingControlByte2(Json& target);
  void processRingControlByte1(const unsigned char& byte, Json& target);
  void processRingTarget(const Bytes& reply);
  unsigned char createSilhouetteControlByte1(Json& target);
  unsigned char createSilhouetteControlByte2(Json& target);
  void processSilhouetteControlByte1(const unsigned char& byte, Json& target);
  void processSilhouetteTarget(const Bytes& reply);

  Json processShotData(const Bytes& frame);
  Json processMeasurementData(const Bytes& frame);

  std::string deviceName;
  std::string portName;  // as the link remembers it; kept by copies
  std::map<std::int32_t, Bytes> deviceFrames;
  bool deviceInitialized = false;
  std::atomic<bool> downloadingTrainingData{false};
  std::atomic<bool> downloadingTarget{false};
  BXSerialCom serialCom;
  std::string targetType;
  std::int32_t currentRingTargetNumber = 255;
  std::int32_t currentSilhouetteTargetNumber = 255;
  std::int32_t numberOfPrisms = 0;
  std::int32_t nominalDistance = 0;
  std::string distanceUnit;
  Json deviceSettings;
  Json target;
  Json sessionSettings;
  std::vector<Json> trainingFrames;
  std::function<void()> callBack;
  void (*unityCallback)(const char*) = nullptr;
  boost::thread workerThread;
  boost::mutex stateMutex;
  mutable boost::mutex trainingFramesMutex;
  boost::condition_variable stateCondition;
  std::uint32_t aimTimerStart = 0;
  std::vector<Bytes> storedResultPages;
  std::vector<Bytes> storedDataFrames;
  std::vector<Bytes> storedShotFrames;
  std::map<std::int32_t, Json> ringTargets;
  std::map<std::int32_t, Json> silhouetteTargets;
};

}  // namespace BX
