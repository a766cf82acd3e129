// The functions of the interface. Each is one operation of the manager.
#include <cerrno>
#include <cstdlib>
#include <exception>
#include <functional>
#include <map>
#include <mutex>
#include <system_error>
#include <thread>
#include <type_traits>

#include "bx/Waiting.h"
#include "c/Calls.h"
#include "c/Records.h"
#include "morva/KeyedAccess.h"

namespace BX::c {

namespace {

// Which failure of an operation counts: what fails first in connecting may count for nothing.
constexpr auto first = &link::FailureWatch::first;
constexpr auto last = &link::FailureWatch::last;

// What an operation works on.
struct Lane {
  BXDeviceManager& manager;
  const std::string& port;
  BXDevice& device;
};

// `work` tells whether it was done, or nothing where each failure of the link counts.
template <typename Work>
void operate(const Call& call, const std::string& port, const Work& work, decltype(first) reason = first) {
  const Turn turn(call, port);
  const link::FailureWatch watch;
  const link::Cancellation::Scope scope(call.cancellation);
  const link::Failure& failure = (watch.*reason)();
  Lane lane{call.manager(), port, turn.device()};
  if constexpr (std::is_void_v<std::invoke_result_t<Work, Lane&>>) {
    work(lane);
    if (failure.kind != link::FailureKind::None) fail(port, failure);
    if (!turn.isRegistered()) throw Failed{BX_E_NO_DEVICE, port + ": the device was removed meanwhile"};
  } else if (!work(lane)) {
    fail(port, failure);
  }
}

template <typename Work>
int32_t operate(bx_manager* m, const char* port, bx_cancel* c, const Work& work) {
  return guarded([&] { operate(Call(m, c), portOf(port), work); });
}

// `work` also gets a text to fill, which the host gets when the operation was done.
template <typename Work>
int32_t operateGiving(bx_manager* m, const char* port, bx_cancel* c, char** json, const Work& work) {
  if (json != nullptr) *json = nullptr;
  return guarded([&] {
    std::string text;
    operate(Call(m, c), portOf(port), [&](Lane& lane) { return work(lane, text); });
    give(json, text);
  });
}

// The operation for one port, or when none is given for all, each on a thread of its own. Throws what the first port by
// name has thrown.
void forEach(const Call& call, const char* port, const std::function<void(const std::string&)>& operation) {
  if (port != nullptr) return operation(portOf(port));
  const auto ports = call.manager().getPorts();
  std::vector<std::exception_ptr> failures(ports.size());
  {
    std::vector<std::jthread> threads;
    for (std::size_t i = 0; i < ports.size(); ++i) {
      threads.emplace_back([&operation, &name = ports[i], &failure = failures[i]] {
        try {
          operation(name);
        } catch (...) {
          failure = std::current_exception();
        }
      });
    }
  }
  for (const auto& failure : failures) {
    if (failure) std::rethrow_exception(failure);
  }
}

// A mode that the device is in already is not commanded: nothing else would tell that the port is closed.
void requireOpen(const Lane& lane) {
  if (!lane.device.getSerialCom().isConnected()) fail(lane.port, {link::FailureKind::NotOpen, {}, "it is not open"});
}

// Empties what a function gives.
template <typename Value>
void clear(Value* place, const char* otherwise) {
  require(place != nullptr, otherwise);
  *place = {};
}

void takeRecords(const Call& call, const std::string& port, std::span<bx_record> out, std::size_t& count, char** json) {
  const auto records = call.manager().takeTrainingFrames(port, out.size());
  if (records.empty()) {
    const auto state = call.manager().getDeviceState(port);
    const bool isLost = state && state->hungUp && state->recordsWaiting == 0;
    if (isLost && tellLoss(*call.session, port)) {
      const link::Failure failure = link::lastFailure(port);
      const bool isIt = failure.kind == link::FailureKind::HungUp;
      throw Failed{BX_E_LINK, port + ": " + (isIt ? link::textOf(failure) : "the port was hung up")};
    }
    if (!state || isLost) throw Failed{BX_E_NO_DEVICE, port + ": no device is registered"};
  }
  for (const auto& record : records) out[count++] = recordOf(record);
  if (json != nullptr) give(json, linesOf(records, out));
}

}  // namespace

}  // namespace BX::c

using namespace BX::c;

uint32_t bx_version(void) { return BX_C_VERSION; }
const char* bx_last_error(void) { return lastError(); }
void bx_free(void* given) { std::free(given); }

int32_t bx_create(uint32_t version, bx_manager** m) {
  return guarded([=] {
    const Call inside;
    clear(m, "there is no place for the manager");
    if (version / 10000 != BX_C_VERSION / 10000 || version / 100 > BX_C_VERSION / 100) {
      throw Failed{BX_E_VERSION, "the host was built for another version"};
    }
    static std::once_flag installed;  // the fixed waits of the library end with the call that waits
    std::call_once(installed,
                   [] { BX::setWaitFunction([](std::chrono::milliseconds time) { BX::link::wait(time); }); });
    *m = createManager();
  });
}

int32_t bx_destroy(bx_manager* m) {
  return guarded([=] { destroyManager(m); });
}

int32_t bx_shutdown(void) { return guarded(shutDown); }

int32_t bx_cancel_create(bx_cancel** c) {
  return guarded([=] {
    clear(c, "there is no place for the cancel");
    *c = createCancel();
  });
}

int32_t bx_cancel_signal(bx_cancel* c) {
  return guarded([=] { signalCancel(c); });
}

int32_t bx_cancel_destroy(bx_cancel* c) {
  return guarded([=] { destroyCancel(c); });
}

int32_t bx_set_baud(uint32_t baud) {
  return guarded([=] {
    require(baud != 0, "no line has 0 bits a second");
    BX::link::Options options = BX::link::getOptions();
    options.baud = baud;
    BX::link::setOptions(options);
  });
}

int32_t bx_set_trace_file(const char* path) {
  return guarded([=] {
    const std::string name = path == nullptr ? std::string() : textOf(path);
    if (!BX::link::setTraceFile(name)) throw Failed{BX_E_OPEN, name + ": " + std::generic_category().message(errno)};
  });
}

int32_t bx_list_ports(char** json) {
  return guarded([=] {
    const Call inside;
    clear(json, "there is no place for the ports");
    std::vector<Json> ports;
    for (const auto& port : BX::link::listPorts()) {
      Json& document = ports.emplace_back();
      const auto set = [&document](const char* key, const std::string& text) {
        if (!text.empty()) setText(document, key, text);
      };
      set("port", port.port);
      set("stableName", port.stableName);
      set("manufacturer", port.manufacturer);
      set("product", port.product);
      set("serialNumber", port.serialNumber);
    }
    give(json, arrayOf(ports));
  });
}

int32_t bx_add(bx_manager* m, const char* given) {
  return guarded([=] {
    const Call call(m);
    const std::string port = portOf(given);
    const BX::link::Cancellation::Scope scope(call.cancellation);
    destroyRemoved(*call.session, port);
    if (!call.manager().addDevice(port, std::string())) {
      require(!call.manager().shareDevice(port), (port + ": a device is registered already").c_str());
      throw std::bad_alloc();
    }
    forgetLoss(*call.session, port);
  });
}

int32_t bx_connect(bx_manager* m, const char* port, uint32_t skip_startup, bx_cancel* c, char** settings) {
  if (settings != nullptr) *settings = nullptr;
  return guarded([=] {
    const Call call(m, c);
    std::mutex mutex;
    std::map<std::string, Json> connected;
    const auto connect = [&](const Lane& lane) {
      if (lane.manager.connectDevice(lane.port, skip_startup != 0).getDocument().ObjectEmpty()) return false;
      const std::scoped_lock lock(mutex);
      connected[lane.port] = lane.device.getDeviceSettings();
      return true;
    };
    const auto giveSettings = [&] {
      Json all;
      for (const auto& [name, document] : connected) setDocument(all, name, document);
      give(settings, all.toString());
    };
    try {
      forEach(call, port, [&](const std::string& name) { operate(call, name, connect, last); });
    } catch (...) {
      if (port == nullptr) giveSettings();
      throw;
    }
    giveSettings();
  });
}

int32_t bx_disconnect(bx_manager* m, const char* port) {
  return guarded([=] {
    const Call call(m);
    forEach(call, port, [&](const std::string& name) {
      const BX::link::Cancellation::Scope scope(call.cancellation);
      if (!call.manager().removeDevice(name)) throw Failed{BX_E_NO_DEVICE, name + ": no device is registered"};
      destroyRemoved(*call.session, name);
    });
  });
}

int32_t bx_get_settings(bx_manager* m, const char* port, bx_cancel* c, char** json) {
  return operateGiving(m, port, c, json, [](const Lane& lane, std::string& text) {
    text = lane.manager.getDeviceSettings(lane.port).toString();
  });
}

int32_t bx_set_settings(bx_manager* m, const char* port, const char* json, bx_cancel* c) {
  return operate(m, port, c,
                 [=](const Lane& lane) { return lane.manager.setupDeviceSettings(lane.port, documentOf(json)); });
}

int32_t bx_set_session(bx_manager* m, const char* port, const char* json) {
  return operate(m, port, nullptr,
                 [=](const Lane& lane) { return lane.manager.setSessionSettings(lane.port, documentOf(json)); });
}

int32_t bx_set_mode(bx_manager* m, const char* port, int32_t mode, bx_cancel* c) {
  return operate(m, port, c, [=](const Lane& lane) {
    require(mode >= 1 && mode <= 255, "a mode is 1 to 255");
    requireOpen(lane);
    lane.manager.setDeviceMode(lane.port, static_cast<BX::BXSerialCom::DeviceMode>(mode));
  });
}

int32_t bx_start_training(bx_manager* m, const char* port, bx_cancel* c) {
  return operate(m, port, c, [](const Lane& lane) {
    requireOpen(lane);
    lane.device.setError(false);
    lane.manager.startTraining(lane.port);
  });
}

int32_t bx_stop_training(bx_manager* m, const char* port, bx_cancel* c) {
  return guarded([=] {
    const Call call(m, c);
    forEach(call, port, [&](const std::string& name) {
      operate(call, name, [](const Lane& lane) { lane.manager.stopTraining(lane.port); });
    });
  });
}

int32_t bx_upload_target(bx_manager* m, const char* port, const char* type, const char* json, bx_cancel* c) {
  return operate(m, port, c, [=](const Lane& lane) {
    Json target = documentOf(json);
    return lane.manager.createTargetOnDevice(lane.port, targetTypeOf(type), target);
  });
}

int32_t bx_download_target(bx_manager* m, const char* port, const char* type, int32_t n, bx_cancel* c, char** json) {
  return operateGiving(m, port, c, json, [=](const Lane& lane, std::string& text) {
    require(n >= 0 && n < 255, "a target has a number from 0 to 254");
    Json target;
    const bool done = lane.manager.downloadTarget(lane.port, targetTypeOf(type), n, target);
    text = target.toString();
    return done;
  });
}

int32_t bx_use_target(bx_manager* m, const char* port, const char* type, int32_t n) {
  return operate(m, port, nullptr, [=](const Lane& lane) {
    require(n >= 0 && n <= 255, "a target has a number from 0 to 254, and 255 is none");
    lane.device.setTargetInUse(targetTypeOf(type), n);
  });
}

int32_t bx_get_targets(bx_manager* m, const char* port, char** json) {
  return operateGiving(m, port, nullptr, json,
                       [](const Lane& lane, std::string& text) { text = arrayOf(lane.manager.getTargets(lane.port)); });
}

int32_t bx_clear_targets(bx_manager* m, const char* port) {
  return operate(m, port, nullptr, [](const Lane& lane) { lane.manager.clearTargetData(lane.port); });
}

int32_t bx_download_session(bx_manager* m, const char* port, bx_cancel* c) {
  return operate(m, port, c, [](const Lane& lane) { lane.manager.downloadDeviceTrainingSession(lane.port); });
}

int32_t bx_clear_session(bx_manager* m, const char* port, bx_cancel* c) {
  return operate(m, port, c, [](const Lane& lane) { lane.manager.clearTrainingData(lane.port); });
}

int32_t bx_take_records(bx_manager* m, const char* port, bx_record* out, size_t capacity, size_t* count, char** json) {
  if (json != nullptr) *json = nullptr;
  return guarded([=] {
    const Call call(m);
    clear(count, "there is no place for the count");
    require(out != nullptr || capacity == 0, "there is no place for the records");
    takeRecords(call, portOf(port), {out, capacity}, *count, json);
  });
}

int32_t bx_get_state(bx_manager* m, const char* port, bx_state* out) {
  return guarded([=] {
    const Call call(m);
    clear(out, "there is no place for the state");
    const std::string name = portOf(port);
    const auto device = call.manager().getDeviceState(name);
    if (!device) throw Failed{BX_E_NO_DEVICE, name + ": no device is registered"};
    *out = stateOf(*device, BX::link::statistics(name));
  });
}
