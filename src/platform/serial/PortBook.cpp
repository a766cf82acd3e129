#include "platform/serial/PortBook.h"

#include <cerrno>
#include <map>
#include <mutex>
#include <utility>

#include "platform/Hex.h"

namespace BX::link {

namespace {

constexpr std::size_t bytesInText = 4;  // of a request

struct Book {
  std::mutex mutex;
  Options options;
  std::map<std::string, TransportFactory> transports;
  std::map<std::string, Failure> failures;
  std::map<std::string, std::shared_ptr<Counters>> counters;
  std::shared_ptr<TraceFile> trace;
};

template <typename Value>
Value lookUp(const std::map<std::string, Value>& map, const std::string& port) {
  const auto found = map.find(port);
  return found == map.end() ? Value() : found->second;
}

// Never destroyed: links may outlive the static objects of the process.
Book& book() {
  static Book& instance = *new Book;
  return instance;
}

}  // namespace

void setOptions(const Options& options) {
  const std::scoped_lock lock(book().mutex);
  book().options = options;
}

Options getOptions() {
  const std::scoped_lock lock(book().mutex);
  return book().options;
}

Failure failureOf(FailureKind kind, const std::string& detail) {
  static const std::map<FailureKind, const char*> texts{
      {FailureKind::NotOpen, "the port is not open"},
      {FailureKind::Closed, "closed by the host"},
      {FailureKind::NoDevice, "no device answers"},
      {FailureKind::NotAcknowledged, "the device no longer acknowledges"},
      {FailureKind::SessionLost, "the device no longer holds the session"},
      {FailureKind::AnswerTooLong, "the answer is longer than 1 MiB"},
      {FailureKind::QueueFull, "more than 1 MiB of streamed payloads waited, and some were dropped"},
      {FailureKind::Memory, "out of memory"},
      {FailureKind::Cancelled, "cancelled"},
      {FailureKind::NoAnswer, "no answer within "},
      {FailureKind::HungUp, ""},
  };
  const bool detailed = kind == FailureKind::NoAnswer || kind == FailureKind::HungUp;
  return {kind, {}, texts.at(kind) + (detailed ? detail : "")};
}

std::string secondsText(std::chrono::milliseconds time) {
  const auto tenths = time.count() / 100;
  return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " s";
}

Failure lastFailure(const std::string& port) {
  const std::scoped_lock lock(book().mutex);
  return lookUp(book().failures, port);
}

std::string lastError(const std::string& port) { return textOf(lastFailure(port)); }

std::string textOf(const Failure& failure) {
  return failure.request.empty()
             ? failure.text
             : failure.text + " (request " + platform::hexOf(failure.request, " ", bytesInText) + ")";
}

void setLastFailure(const std::string& port, Failure failure) {
  const std::scoped_lock lock(book().mutex);
  book().failures[port] = std::move(failure);
}

Statistics statistics(const std::string& port) {
  const std::scoped_lock lock(book().mutex);
  const auto found = book().counters.find(port);
  if (found == book().counters.end()) return {};
  const Counters& counters = *found->second;
  return {counters.payloadsSent,   counters.payloadsReceived, counters.framesSent,  counters.framesResent,
          counters.framesReceived, counters.framesDamaged,    counters.answersLate, counters.payloadsDropped};
}

void setCounters(const std::string& port, std::shared_ptr<Counters> counters) {
  const std::scoped_lock lock(book().mutex);
  book().counters[port] = std::move(counters);
}

bool setTraceFile(const std::string& path, bool overwrite) {
  std::shared_ptr<TraceFile> file;
  try {
    if (!path.empty()) file = std::make_shared<TraceFile>(path, overwrite);
  } catch (const platform::OutputError& failure) {
    errno = failure.code();
    return false;
  }
  const std::scoped_lock lock(book().mutex);
  book().trace.swap(file);
  return true;
}

std::string traceError() {
  const std::scoped_lock lock(book().mutex);
  return book().trace ? book().trace->error() : std::string();
}

std::unique_ptr<Trace> newTrace(const std::string& port) {
  const std::scoped_lock lock(book().mutex);
  return book().trace ? std::make_unique<Trace>(book().trace, port) : nullptr;
}

// What was replaced is destroyed without the lock.
void setTransport(const std::string& port, TransportFactory factory) {
  const std::scoped_lock lock(book().mutex);
  book().transports[port].swap(factory);
}

std::unique_ptr<Transport> transportFor(const std::string& port) {
  TransportFactory factory;
  {
    const std::scoped_lock lock(book().mutex);
    factory = lookUp(book().transports, port);
  }
  return factory ? factory(port) : nullptr;
}

}  // namespace BX::link
