#include "platform/serial/PortBook.h"

#include <map>
#include <mutex>
#include <utility>

namespace BX::link {

namespace {

struct Book {
  std::mutex mutex;
  Options options;
  std::map<std::string, TransportFactory> transports;
  std::map<std::string, std::string> errors;
  std::map<std::string, std::shared_ptr<Counters>> counters;
  std::shared_ptr<TraceFile> trace;
};

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

std::string lastError(const std::string& port) {
  const std::scoped_lock lock(book().mutex);
  const auto found = book().errors.find(port);
  return found == book().errors.end() ? std::string() : found->second;
}

void setLastError(const std::string& port, const std::string& reason) {
  const std::scoped_lock lock(book().mutex);
  book().errors[port] = reason;
}

Statistics statistics(const std::string& port) {
  const std::scoped_lock lock(book().mutex);
  const auto found = book().counters.find(port);
  if (found == book().counters.end()) return {};
  const Counters& counters = *found->second;
  return {counters.payloadsSent,   counters.payloadsReceived, counters.framesSent, counters.framesResent,
          counters.framesReceived, counters.framesDamaged,    counters.answersLate};
}

std::shared_ptr<Counters> newCounters(const std::string& port) {
  auto counters = std::make_shared<Counters>();
  const std::scoped_lock lock(book().mutex);
  book().counters[port] = counters;
  return counters;
}

bool setTraceFile(const std::string& path) {
  std::shared_ptr<TraceFile> file;
  if (!path.empty()) {
    file = std::make_shared<TraceFile>();
    if (!file->open(path)) return false;
  }
  const std::scoped_lock lock(book().mutex);
  book().trace.swap(file);
  return true;
}

std::unique_ptr<Trace> newTrace(const std::string& port) {
  const std::scoped_lock lock(book().mutex);
  return book().trace ? std::make_unique<Trace>(book().trace, port) : nullptr;
}

void setTransport(const std::string& port, TransportFactory factory) {
  const std::scoped_lock lock(book().mutex);
  if (factory) {
    book().transports[port] = std::move(factory);
  } else {
    book().transports.erase(port);
  }
}

std::unique_ptr<Transport> transportFor(const std::string& port) {
  TransportFactory factory;
  {
    const std::scoped_lock lock(book().mutex);
    const auto found = book().transports.find(port);
    if (found != book().transports.end()) factory = found->second;
  }
  return factory ? factory(port) : nullptr;
}

}  // namespace BX::link
