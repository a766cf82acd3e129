// The serial link to one target device: what the device library asks of BX_SERIAL_COM.
//
// A payload is the bytes of one command, answer or record, without the link's own framing. A request payload ends
// with calculateSum of the bytes before it; answers and records carry no sum byte.
//
// Every member that sends is synchronous: it sends one request, blocks until its answer has come or a time-out has
// passed, runs the reply handler on the calling thread, and then returns. The bound is 1.3 s for a line that
// acknowledges nothing (twice that when the exchange also begins the session, which the first one after openPort
// does) and else 2 s after the last sign of the answer: an acknowledgement, or any frame of it. An answer beyond 1 MiB
// fails. A false result sets the error flag; BXSerialLink.h tells the kind of the failure and the reason.
//
// A device that lost its session while nothing was under way (it was switched off) is met with a new one: the exchange
// that finds out goes on in it. The device rests then, whatever its mode was; what it therefore refuses fails as a lost
// session.
//
// Threads: exchanges of one link take turns when they are called from several threads, and so do opening and closing.
// Everything may be called from inside a handler. A handler that throws fails its exchange: the link is released and
// the request returns false. No handler runs with a lock of the link held.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "bx/export.h"

namespace BX {

namespace link {
class Link;
}

class BX_SERIAL_COM_API BXSerialCom {
 public:
  enum DeviceMode : std::int32_t {
    NO_MODE = 0,         // before any mode was commanded, or unknown; never sent by the device library
    CLASSIC_STREAM = 1,  // streams records, classic
    INFORMATION = 2,     // connect: device information is read
    FIELD_STREAM = 3,    // streams records, field
    RESTING = 4,         // after connect, after every transfer, after training
    TRANSFER = 6,        // target transfer, settings write, stored results
  };

  // Items for sendDeviceInfoCommand. The texts are this library's own names; the wire carries a one-byte code.
  static const std::string DEVICE_INFO_SERIAL_NUMBER;
  static const std::string DEVICE_INFO_USAGE_INFORMATION;
  static const std::string DEVICE_INFO_ID;
  static const std::string DEVICE_INFO_PROGRAM;
  static const std::string DEVICE_INFO_DATE;
  static const std::string DEVICE_INFO_TIME;
  static const std::string DEVICE_INFO_ERROR_COUNTERS;
  static const std::string DEVICE_INFO_STORED_RESULTS;

  BXSerialCom();
  // A copy has the port name and is closed: no mode, no callbacks, no thread, no descriptor, no error.
  BXSerialCom(const BXSerialCom& other);
  BXSerialCom& operator=(const BXSerialCom& other);
  // Closes the port, as closePort does.
  ~BXSerialCom();

  // ---- Port. None of these exchanges anything with the device; the first exchange begins the session.

  // Remembers the port name; opens nothing. False, and nothing changes, while the port is open. A name is
  //   - that of a serial port of this machine: /dev/ttyUSB0, COM3; or
  //   - tcp://HOST:PORT, a line behind a server that passes its bytes on as they are. HOST is a name, an IPv4 address,
  //   or
  //     an IPv6 address in brackets: tcp://[::1]:4001. The server has the line's speed. Nothing keeps a second host
  //     from the line but the server; when one takes it, the first one's session is lost. Nothing is secret, and nobody
  //     has to show who he is: for this machine alone, a network of its own, or a tunnel (ssh, stunnel).
  // Names are compared byte by byte: a line that has two names is two ports.
  bool initializePort(const std::string& port);
  // Opens the remembered port: a serial port for exclusive use, raw, without flow control, discarding unread input.
  // True at once when it is open already. False when it cannot be opened, is in use by another program, or is the
  // terminal that controls this process. Over TCP it blocks for 3 s at most, looking up the host included, and ends at
  // once when the port is closed or the thread is cancelled (BXSerialLink.h) meanwhile.
  bool openPort();
  // Closes the port, with the settings that it had before. True when it was open. An exchange under way on another
  // thread fails at once, and so does an opening over TCP. Called outside a handler: no handler runs any more when it
  // returns. Called inside one: none starts afterwards. The callbacks stay.
  bool closePort();
  // Whether the port is open and has not been hung up.
  bool isConnected() const;

  // ---- Exchanges.

  // 73 sum, answered by 59 73.
  bool sendStartupCommand();
  // 6F mode sum, answered by 59 6F. While a stream runs, that answer is also the end of the stream: the listening
  // thread hands it to the stream handler, then this returns; it waits for a handler that does not come back no longer
  // than for an answer. Called inside the stream handler it returns with the answer. `endsStream` is a hint that this
  // link has no use for. Leaves currentDeviceMode alone, but for a command that was cancelled (BXSerialLink.h): the
  // mode is NO_MODE then.
  bool setDeviceMode(const DeviceMode& mode, bool endsStream);
  // 63 item sum, answered by 59 63 item text. Any answer but a refusal succeeds and goes to `callback`, or to the
  // function of setCallBackFunction when `callback` is empty. False without sending for an unknown item.
  bool sendDeviceInfoCommand(const std::string& item, std::function<void()> callback);
  // 65 frame sum, answered by 59 65 frame content. Any answer but a refusal succeeds and goes to the function of
  // setCallBackFunction.
  bool getParameterSetFrame(unsigned char frame);
  // Sends `bytes` as they stand. True when the answer begins 59 `ack`; `callback`, when given, then reads it. The last
  // argument is without effect.
  bool sendBytesAckReturn(std::vector<unsigned char>& bytes, const unsigned char& ack, std::function<void()> callback,
                          bool unused);
  // Sends `bytes` as they stand. True when the answer begins 59 `ack`; it goes to the function of setCallBackFunction.
  bool sendDownloadTargetRequest(std::vector<unsigned char>& bytes, const unsigned char& ack);
  // Sends `bytes` as they stand. The answer is any number of records and a closing 59 62; once it is whole, `callback`
  // runs for each payload in order, the closing one last. A transfer that fails half-way delivers nothing.
  bool sendDownloadRequest(std::vector<unsigned char>& bytes, std::function<void()> callback);
  // 70 sum, answered by 59 70. Any answer but a refusal succeeds and goes to the function of setCallBackFunction.
  bool poll();

  // ---- Bytes.

  // The sum of `bytes`, modulo 256: the last byte of every request payload.
  unsigned char calculateSum(const std::vector<unsigned char>& bytes) const;
  // Makes `bytes` the four bytes of `value`, least significant first.
  void intToByteArray(std::vector<unsigned char>& bytes, int value) const;
  // Inside a handler: the payload that it is called for. Elsewhere: the last payload that a reply handler was given.
  std::vector<unsigned char> getReceivedBytes() const;

  // ---- Callbacks. Empty functions are allowed and are not called.

  void setCallBackFunction(std::function<void()> callback);
  // The stream handler: runs on the listening thread, once for each streamed payload, in order.
  void setProcessTrainingCallback(std::function<void()> callback);
  // Called with the port name when the port is hung up while a stream is listened to: the last thing that the
  // listening thread does. The device may be removed and this link destroyed inside it.
  void setRemoveDeviceCallback(std::function<bool(const char*)> callback);

  // ---- Stream.

  // Starts the listening thread. Running and streaming are true when this returns. Payloads that came since the answer
  // of a stream's mode reach the handler first; from the end of a listening to the next such answer, or the next start,
  // payloads are dropped and counted. At most 1 MiB of them waits (some 20,000 records); what comes beyond that is
  // dropped, counted and told as a failure. Nothing happens when the port is not open or the thread runs already.
  void startSessionListening();
  // False ends the listening thread once the payloads that have arrived so far are handled. Inside the stream handler
  // it clears getStreaming at once, and the stream ends when the handler returns.
  void setRunning(const bool& running);
  // Whether a stream is listened to. Cleared by every way out of the listening thread: the end of the stream,
  // setRunning(false), closePort, a hang-up, a lost session, a handler that throws.
  bool getStreaming() const;
  void setStreaming(const bool& streaming);

  // ---- Flags that the device library sets for links that need them. This link waits for answers itself: no effect.

  void setClearBuffer(const bool& clear);
  void setReadyToSend(const bool& ready);
  void setWaitingForAck(bool waiting);
  void setIsStartup(bool startup);

  // The error flag: set by each failed or refused exchange, until it is set back.
  bool getError() const;
  void setError(bool error);

  // The mode that the device library last commanded. Read and written by it; setDeviceMode may set it to NO_MODE.
  DeviceMode currentDeviceMode = NO_MODE;

 private:
  std::shared_ptr<link::Link> link_;
};

}  // namespace BX
