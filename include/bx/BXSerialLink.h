// What our own link offers a host beyond the contract of BXSerialCom.h: time-outs and line speed, the reason of the
// last failure, cancellation, statistics, traces, and transports of a host's own.
//
// All functions may be called from any thread at any time.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "bx/export.h"

namespace BX::link {

struct Options {
  // Line speed in bits a second, eight data bits, no parity, one stop bit; ten bits travel for each byte. A line over
  // TCP has the speed that was set at its server: this sets nothing there, but the waits below begin when bytes have
  // left at this speed.
  unsigned baud = 115200;
  // A frame is sent again when it is not acknowledged this long after its last byte has left; each further wait is
  // half as long again.
  std::chrono::milliseconds resend{100};
  // How often a frame is sent in all before the session is given up.
  int sends = 5;
  // The longest wait for an answer, restarted by each of its frames.
  std::chrono::milliseconds reply{2000};
  // While a stream is listened to, a line that has been silent this long is asked for a sign of life.
  std::chrono::milliseconds keepAlive{2000};
};

// For ports that are opened from now on, in the whole process.
BX_SERIAL_COM_API void setOptions(const Options& options);
BX_SERIAL_COM_API Options getOptions();

// What kind of failure an opening, an exchange or a stream has ended with.
enum class FailureKind {
  None,  // nothing has failed
  // ---- opening
  NoSuchPort,  // nor such a host, nothing listens there, or the name is none (tcp://HOST:PORT)
  NotPermitted,
  InUse,  // by another program
  NotASerialPort,
  BadLineSpeed,  // the port does not take Options::baud
  System,        // anything else that the operating system says
  // ---- exchanges and streams
  NotOpen,
  Closed,           // by the host, meanwhile
  HungUp,           // the far end or the adapter is gone
  NoDevice,         // nothing answers: no session could be begun
  NotAcknowledged,  // the device no longer acknowledges; the session was given up
  SessionLost,      // the device no longer holds the session: it was switched off, or had given the session up
  NoAnswer,         // the request was acknowledged but not answered in time
  BadRequest,       // nothing was sent: the link knows no such item
  Refused,
  UnexpectedAnswer,
  AnswerTooLong,  // more than 1 MiB; the session was given up
  QueueFull,      // more than 1 MiB of streamed payloads waited for the stream handler, and some were dropped
  Handler,        // a handler of the host threw an exception
  Memory,         // there was none; the session was given up
  Cancelled,      // by the host, through the thread's Cancellation; device and session stay
};

struct Failure {
  FailureKind kind = FailureKind::None;
  std::vector<std::uint8_t> request;  // the payload that was refused or answered unexpectedly; else empty
  std::string text;                   // the reason as one line, without the port's name and the request
};

// Why the last failed opening or exchange on `port` failed. Kind None when none has failed. Outlives the link.
BX_SERIAL_COM_API Failure lastFailure(const std::string& port);

// The same as one line, with the first bytes of the request ("in use by another program", "no answer within 2.0 s",
// "refused by the device (request 6F 4D BC)"). Empty when none has failed.
BX_SERIAL_COM_API std::string lastError(const std::string& port);
BX_SERIAL_COM_API std::string textOf(const Failure& failure);

// Keeps why openings and exchanges of the calling thread have failed since it was made: what lastFailure tells may have
// failed on another thread meanwhile. Failures of a stream are not kept. Made and destroyed on one thread. Watches
// nest: the innermost one counts alone.
class BX_SERIAL_COM_API FailureWatch {
 public:
  FailureWatch();
  ~FailureWatch();
  FailureWatch(const FailureWatch&) = delete;
  FailureWatch& operator=(const FailureWatch&) = delete;
  // Kind None when none has failed.
  const Failure& first() const { return first_; }
  const Failure& last() const { return last_; }

 private:
  friend void noteFailure(const Failure& failure);
  Failure first_;
  Failure last_;
  FailureWatch* outer_;
};

class CancellationState;

// Ends what a thread waits for in the link, from another thread. Copies are one and the same cancellation.
class BX_SERIAL_COM_API Cancellation {
 public:
  Cancellation();
  // For good. Any thread, but no signal handler; blocks for no longer than it takes to wake who waits.
  void request();
  bool isRequested() const;

  // Makes a cancellation that of the calling thread, until the scope ends on the same thread. Once it is requested,
  // before the scope or in it, every exchange of this thread, under way or to come, fails at once as Cancelled, and the
  // thread starts no listening. The device stays connected, and its session and stream go on; an answer that still
  // comes is dropped. A mode that was commanded meanwhile may have been taken or not: the next exchange without such a
  // scope, unless it commands a mode itself, is preceded by the command to rest. Opening a port over TCP is
  // cancelled as well. Other openings, and closing, are not: they wait for nothing but handlers of the host. Scopes
  // nest: the innermost one counts alone. The cancellation itself may be gone before the scope.
  class BX_SERIAL_COM_API Scope {
   public:
    explicit Scope(const Cancellation& cancellation);
    ~Scope();
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

   private:
    std::shared_ptr<CancellationState> state_;
    CancellationState* outer_;
  };

 private:
  std::shared_ptr<CancellationState> state_;
};

// Blocks the calling thread that long, or until its cancellation is requested; false then. What a host gives to
// BX::setWaitFunction (Waiting.h), so that the fixed waits of the device library are cancelled as well.
BX_SERIAL_COM_API bool wait(std::chrono::milliseconds duration);

// Counted since the port was last opened.
struct Statistics {
  std::uint64_t payloadsSent = 0;      // acknowledged by the device
  std::uint64_t payloadsReceived = 0;  // delivered, each once
  std::uint64_t framesSent = 0;
  std::uint64_t framesResent = 0;
  std::uint64_t framesReceived = 0;
  std::uint64_t framesDamaged = 0;    // received with a wrong checksum or length, and dropped
  std::uint64_t answersLate = 0;      // came after their request had been given up, and were dropped
  std::uint64_t payloadsDropped = 0;  // streamed while nobody listened, or beyond what may wait
};
BX_SERIAL_COM_API Statistics statistics(const std::string& port);

// Writes every frame of the ports that are opened from now on to a text file: one line each, as docs/link.md tells. The
// file is made, or emptied, when the first of them is open, and locked from then on. An empty path ends that, but ports
// that are open go on. False, with the reason in errno, when the file cannot be written, or is a regular one that is
// not empty and not to be overwritten (EEXIST); nothing changes then. Without a trace file this costs nothing. A trace
// holds all that the host and the device say to each other, the device's identity included.
BX_SERIAL_COM_API bool setTraceFile(const std::string& path, bool overwrite = true);

// Why the trace file could not be begun or written any further and how many lines it holds, as one line without its
// name ("write: No space left on device, after 12 lines", "open: in use by another program, after 0 lines"); empty when
// all is well. From the first failure on nothing more is written, so that what stands there are whole lines without a
// gap. Any thread, at any time.
BX_SERIAL_COM_API std::string traceError();

// A serial port of this machine, and what its adapter says of itself; empty, or 0: not known.
struct PortInfo {
  std::string port;
  std::string stableName;   // by which it is the same after it was unplugged, such as /dev/serial/by-id/...
  std::string description;  // for people: the product, else what the system calls the port
  std::string transport;    // "native", "USB" or "Bluetooth"
  int usbVendorId = 0;
  int usbProductId = 0;
  std::string manufacturer;
  std::string product;
  std::string serialNumber;
  std::string bluetoothAddress;
};
// By ascending name. Opens no port.
BX_SERIAL_COM_API std::vector<PortInfo> listPorts();

// What a transport may throw when the line cannot be had, to tell the kind of the failure as well.
class BX_SERIAL_COM_API OpenFailure : public std::runtime_error {
 public:
  OpenFailure(FailureKind kind, const std::string& reason) : std::runtime_error(reason), kind_(kind) {}
  FailureKind kind() const { return kind_; }

 private:
  FailureKind kind_;
};

// A line of bytes to a device. The link calls the members from one thread at a time, which may change.
class BX_SERIAL_COM_API Transport {
 public:
  struct Events {
    // Bytes have arrived. May be called from any thread; returns at once.
    std::function<void(std::span<const std::uint8_t>)> received;
    // The line is gone, and why. Called once at most, with no `received` after it.
    std::function<void(const std::string& reason)> hungUp;
  };
  virtual ~Transport();
  // Throws OpenFailure, or another std::exception with the reason, when the line cannot be had.
  virtual void open(Events events) = 0;
  // Queues the bytes and returns at once.
  virtual void write(std::vector<std::uint8_t> bytes) = 0;
  // Idempotent. Bytes queued just before are still sent when that needs no waiting. No event comes once it returned.
  virtual void close() = 0;
};

using TransportFactory = std::function<std::unique_ptr<Transport>(const std::string& port)>;

// From now on openPort gets the line of exactly this port name from `factory`; an empty function brings back what the
// name means by itself. While open() runs, a cancellation of its thread, and closePort, end BX::link::wait at once.
BX_SERIAL_COM_API void setTransport(const std::string& port, TransportFactory factory);

}  // namespace BX::link
