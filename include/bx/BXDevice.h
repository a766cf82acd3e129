// One target device on one serial port.
//
// Exchanges. A member that talks to the device blocks the calling thread until its exchanges are over. BXSerialCom.h
// bounds one exchange: 1.3 s when nothing acknowledges (2.6 s for the first after the port was opened), otherwise 2 s
// after the last sign of an answer; on a port that is not open it fails at once. Below, "N exchanges" means N times
// that at worst. A member stops at the first exchange that fails, returns false and repeats nothing: sending again is
// the link's work. What earlier exchanges changed on the device stays. A failed exchange sets the link's error flag.
//
// Modes. The device answers transfers, settings writes and stored results in mode 6 only, and information and reads of
// settings in any mode but a stream; its modes are listed in BXSerialCom.h. The members here do not change the mode
// unless they say so: BXDeviceManager does that around them.
//
// Threads. One thread of the host uses a device at a time. While it streams, records arrive on the listening thread,
// and beside it these may be called: getTrainingFrames, takeTrainingFrames, clearTrainingFrames, setDeviceMode,
// stopThread and copying. Everything else waits until the stream has ended. isDownloading, downloadProgress,
// silhouetteProgress, hasError, trainingFrameCount and receivedFrameCount may be called from any thread at any time.
// When the port is hung up during a stream, the listening thread closes it and changes nothing else: records, documents
// and targets stay as they are.
//
// Documents are values: what is passed in or returned is copied. References from the getters are to the device's own
// documents and end with the device; changing one sends nothing. docs/ tables keys, types and units. A missing
// boolean counts as true, an integer as 2147483647, a double as the largest one, a text as empty (KeyedAccess.h).
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

  // No port, no mode, empty documents, no target in use (255).
  BXDevice();
  // Copies the port name, the device settings, the target, the stored targets and the numbers of the targets in use;
  // the copy's session settings are `other`'s *target*. The copy is closed and in no mode, without callbacks and
  // records, and reads its parameter-set frames anew. `other` may be streaming.
  BXDevice(const BXDevice& other);
  BXDevice& operator=(const BXDevice&) = delete;
  // Waits 500 ms, then closes the port; the device is sent nothing. Waits for a handler that runs on another thread.
  ~BXDevice();

  // ---- Lifecycle

  // Opens the port (up to 3 tries, back to back), waits 2000 ms, sends the startup command (skipped, with its wait,
  // when `skipStartup`; its failure counts for nothing), waits 500 ms, commands mode 2 unless that was the last mode,
  // and asks for the device information. Up to 9 exchanges. Forgets the training records. True at once, without any of
  // this, when the port is open. False when the port cannot be opened, and then nothing has changed; or when the device
  // refuses or does not answer, and then it is disconnected. A device that its manager removes meanwhile tries no more.
  bool connectDevice(bool skipStartup);
  // Closes the port at once, sending nothing; forgets device settings, target, stored targets, records and the
  // Unity callback. Keeps session settings, the last mode, parameter-set frames, isDeviceInitialized and the error
  // flag.
  void disconnectDevice();
  // Whether the device information was ever read whole.
  bool isDeviceInitialized() const;
  // Whether stored results, or a target of them, are being fetched.
  bool isDownloading() const;
  // How far the download of stored results is that runs, or how far the last one came: 0 of 0 until the device has told
  // how many pages there are. Targets are fetched after the last page.
  struct DownloadProgress {
    std::size_t pagesDone = 0;
    std::size_t pages = 0;
  };
  DownloadProgress downloadProgress() const;
  // The link's error flag; it stays set until it is set back. BXSerialLink.h tells the reason.
  bool hasError() const;
  void setError(bool error);

  BXSerialCom& getSerialCom();
  Json& getDeviceSettings();
  Json& getSessionSettings();
  Json& getTarget();
  const std::string& getTargetType() const;  // always empty

  // Names the port; opens nothing, and asks nothing of the link but to remember it. Without effect while the port is
  // open.
  void setDevicePort(const std::string& port);
  // Replaces the document, whole; sends nothing (setParameterSetFrames does).
  void setDeviceSettings(const Json& settings);
  void setSessionSettings(const Json& settings);
  // Replaces the document, whole; sends nothing (the uploads do), and they do not read it.
  void setTarget(const Json& target);
  // Kept and never called.
  void setCallBackFunction(std::function<void()> callBack);
  // Kept by the link: called with the port name, on the listening thread, when the port is hung up while a stream is
  // listened to. The device may be destroyed inside it.
  void setRemoveDeviceCallback(std::function<bool(const char*)> callback);
  // Kept until disconnectDevice and never called.
  void setUnityCallback(void (*callback)(const char*));
  // Commands the device into `mode`, 1 exchange; true, and nothing is sent, when that is the last mode it took. `flag`
  // goes to the link as its hint `endsStream`. While a stream runs, success also ends the stream.
  bool setDeviceMode(const BXSerialCom::DeviceMode& mode, bool flag);

  // ---- Settings

  // Asks for serial number, ID, program, date, time, usage information and error counters, 7 exchanges. The first five
  // become texts of the device settings: "SerialNumber", "DeviceID", "Program", "Date", "Time".
  bool setupDeviceSettings();
  // Reads the eleven parameter-set frames, 11 exchanges, then applies them as processDeviceFrames does. The first
  // answer for a frame counts for the life of this object; later ones are dropped. On failure the settings are as they
  // were. An answer that carries no frame is written to standard output ("DEF: " and its bytes in hexadecimal) and
  // skipped.
  bool getParameterSetFrames();
  // Writes the device settings, the session settings and the targets in use as four frames, 4 exchanges. Numbers travel
  // as their low 8 bits, "CockingDelay" (seconds) in tenths, truncated. Mode 6.
  bool setParameterSetFrames();
  // Sets "Mounting", "ArrowButtonsEnabled", "EvaluateSilhouette", "CountRingScore", "RegisterAllTriggers",
  // "TargetReceiverHitIndicationBeam" and "SleepWakeUp" of the device settings from the frames read. A frame that was
  // never read, or is too short, sets nothing, and from then on counts as read.
  void processDeviceFrames();

  // What the device says of itself in the frames that getParameterSetFrames read, and so as it was when they were first
  // read: what is written later is seen by another object that connects. Nothing is sent. Both are read from the frame
  // of the classic mode; the library writes the same into that of the field mode.
  //
  // "isInFieldMode", "NumberOfBullets", "WakeupAngle", "ShotRejectionAngle", "SleepTimeout", "TriggerSensitivity" and
  // "CockingDelay" (seconds), as setSessionSettings takes them; without those of a frame that was not read or is too
  // short, so the document is empty before the frames are read.
  Json reportedSessionSettings() const;
  // Which of its stored targets the device has in use. 255: none, or not known. A connection does not make them the
  // library's targets in use.
  struct TargetNumbers {
    std::int32_t ring = 255;
    std::int32_t silhouette = 255;
  };
  TargetNumbers reportedTargets() const;
  // Asks for one item of device information, one of BXSerialCom's DEVICE_INFO names, 1 exchange. `text` becomes the
  // item as received, which may be any bytes, up to the first zero byte or 15 of them. False, with `text` unchanged,
  // when the exchange fails or the answer is no device information. Any mode but a stream.
  bool requestInformation(const std::string& item, std::string& text);

  // What the control bytes of the frames are, by the device settings and the targets in use (docs/wire.md): parameter
  // control byte 1: mounting and arrow buttons.
  unsigned char createParameterControlByte1();
  // Parameter control byte 2: zeroing.
  bool createParameterControlByte2();
  // Operating-mode control byte 1: what is evaluated, triggers, hit indication beam and waking up; never 0.
  unsigned char createParameterSet1OperatingModeControlByte1();
  // Operating-mode control byte 2: display and buzzer.
  unsigned char createParameterSet1OperatingModeControlByte2();
  // Sets "Mounting" and "ArrowButtonsEnabled" from the byte that is pointed to, parameter control byte 1.
  void processParameterControlByte1(const unsigned char* byte);
  // Sets the other five settings of processDeviceFrames from operating-mode control byte 1.
  void processParameterSet1OperatingModeControlByte1(const unsigned char* byte);

  // ---- Training

  // Forgets the records, commands mode 3, or 1 when the session setting "isInFieldMode" is false (1 exchange, none when
  // that was the last mode), and starts the listening thread, whatever came of the mode. From then on each payload adds
  // one record, decoded, or empty when it is none. Ended by the device, the listening goes no further, but the
  // last mode is still the stream's: set another one before the next start.
  void startThread();
  // Ends the listening thread once the payloads that have arrived are handled; returns at once and sends nothing.
  void stopThread();
  void stop();  // does nothing
  // Asks for a sign of life, 1 exchange. The result is in hasError.
  void poll();
  // While the device streams: the records that came since the last call, which are then forgotten. Otherwise: a copy of
  // all records, which stay; so after a stream, or a download, each call returns the same.
  // Records pile up without limit until they are fetched: about 1.3 KB each.
  std::vector<Json> getTrainingFrames();
  // The records that have come since, which are then forgotten, whether the device streams or not: across the end of a
  // stream none is lost and none comes twice.
  std::vector<Json> takeTrainingFrames();
  // The first `most` of them at most; the others wait on.
  std::vector<Json> takeTrainingFrames(std::size_t most);
  // How many records wait, and how many have come since the port was opened.
  std::size_t trainingFrameCount() const;
  std::uint64_t receivedFrameCount() const;
  void clearTrainingFrames();

  // ---- Targets. Mode 6. Stored targets are kept by number until disconnectDevice, clearTargetData or the next
  // sendDownloadFrame. Keys that `target` lacks count as missing (above); its values are not checked.

  // Sends `target` in 4 exchanges. It is kept, and is the target in use, even when the device refuses it.
  bool uploadRingTarget(Json& document);
  // Fetches the ring target stored as the low 8 bits of `number`, 4 exchanges. Of a target that is kept already, the
  // diameters and the name are replaced and everything else stays. An answer that is too short is passed over,
  // and what it would have brought is missing then, "RingTargetNumber" with the first one.
  bool downloadRingTarget(const int& number);
  // Sends `target`: 2 exchanges, and 64 more when it has a bitmap. It is kept, and is the target in use, even when the
  // device refuses it.
  bool uploadSilhouetteTarget(Json& document);
  // Fetches the silhouette target stored as the low 8 bits of `number`, 66 exchanges.
  bool downloadSilhouetteTarget(const int& number);
  // How far the upload or download of a silhouette target is that runs, or how far the last one came, a download of
  // stored results included: 0 of 0 before the first.
  struct SilhouetteProgress {
    std::size_t exchangesDone = 0;
    std::size_t exchanges = 0;
  };
  SilhouetteProgress silhouetteProgress() const;
  // Copies of the kept targets: ring targets by number, then silhouette targets by number. Sends nothing.
  std::vector<Json> getAllTargets() const;
  // Tells which of the device's targets is in use when this object has not uploaded it: positions and distances of
  // the coming shots are decoded with it from the first on. "RING" means a ring target, any other type a silhouette
  // target; none of the other kind is in use then. `number` 0 to 254; 255: none. Sends nothing, and fetches nothing:
  // the distance that positions are scaled with is that of the target that was uploaded or downloaded last.
  void setTargetInUse(const std::string& type, std::int32_t number);
  // Forgets the kept targets and which are in use; sends nothing.
  void clearTargetData();

  // ---- Stored results. Mode 6; not while the device streams.

  // Fetches every stored record and every target that stored shots name: an exchange for the table of pages, one for
  // each page, then the targets. The records then are the training records. When any of it fails there are none, and
  // hasError tells.
  void sendDownloadFrame();
  // Clears the device's stored results, 7 exchanges, and forgets the training records.
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
  bool downloadPages();
  void setDownloadProgress(const DownloadProgress& now);
  bool downloadStoredTargets();
  bool downloadTargetsOf(const Bytes& shotFrame);
  void decodeStoredRecords();

  unsigned char createRingControlByte1(Json& document);
  unsigned char createRingControlByte2(Json& document);
  void processRingControlByte1(const unsigned char& byte, Json& document);
  void processRingTarget(const Bytes& bytes);
  unsigned char createSilhouetteControlByte1(Json& document);
  unsigned char createSilhouetteControlByte2(Json& document);
  void processSilhouetteControlByte1(const unsigned char& byte, Json& document);
  void processSilhouetteTarget(const Bytes& bytes);
  void beginSilhouette(std::size_t exchanges);
  bool countSilhouette(bool succeeded);

  Json processShotData(const Bytes& frame);
  Json processMeasurementData(const Bytes& frame);

  std::atomic<bool> removing{false};  // by one thread: another one that wants to leaves it to that
  std::string deviceName;
  std::string portName;
  std::map<std::int32_t, Bytes> deviceFrames;
  bool deviceInitialized = false;
  std::atomic<bool> downloadingTrainingData{false};
  std::atomic<bool> downloadingTarget{false};
  BXSerialCom serialCom;
  std::string targetType;  // stays empty
  std::int32_t currentRingTargetNumber = 255;
  std::int32_t currentSilhouetteTargetNumber = 255;
  std::int32_t numberOfPrisms = 0;
  std::int32_t nominalDistance = 0;
  std::string distanceUnit;
  Json deviceSettings;
  Json target;
  Json sessionSettings;
  // Guards what the listening thread changes beside the host, and what may be asked for from any thread: the five
  // members below, and the numbers of the targets in use while a stream is listened to. Of other locks only those of
  // the link are taken under it, and none of those is held while a handler runs.
  mutable boost::mutex trainingFramesMutex;
  std::vector<Json> trainingFrames;
  std::uint64_t receivedFrames = 0;
  std::uint32_t aimTimerStart = 0;
  DownloadProgress progress;
  SilhouetteProgress silhouetteTransfer;
  std::vector<Bytes> storedResultPages;
  std::vector<Bytes> storedDataFrames;
  std::vector<Bytes> storedShotFrames;
  std::map<std::int32_t, Json> ringTargets;
  std::map<std::int32_t, Json> silhouetteTargets;
  // Of the contract alone: kept or declared, and never used.
  std::function<void()> callBack;
  void (*unityCallback)(const char*) = nullptr;
  boost::thread workerThread;
  boost::mutex stateMutex;
  boost::condition_variable stateCondition;
};

}  // namespace BX
