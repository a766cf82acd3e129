// The functions of the interface. Each is one operation of the manager.
#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <exception>
#include <future>
#include <mutex>
#include <system_error>
#include <type_traits>

#include "c/Calls.h"
#include "morva/KeyedAccess.h"

namespace BX::c {

namespace {

// What an operation works on, and the text that it gives.
struct Lane {
  BXDeviceManager& manager;
  const std::string& port;
  BXDevice& device;
  std::string text;
  bool leavesRecords = false;  // a line that is lost since then is told when they are taken
};

bool isLost(const Lane& lane) {
  const auto state = lane.manager.getDeviceState(lane.port);
  return state && state->hungUp;
}

// `work` tells whether it was done, or nothing where each failure of the link counts. The first failure is the reason,
// but in connecting the last one: what fails before may count for nothing there. A call that is ended with its manager
// may find its port closed before it learns that it is cancelled.
template <typename Work>
std::string operate(const Call& call, const std::string& port, const Work& work, bool lastCounts = false) try {
  const Turn turn(call, port);
  const link::FailureWatch watch;
  const link::Cancellation::Scope scope(call.cancellation);
  const link::Failure& failure = lastCounts ? watch.last() : watch.first();
  Lane lane{call.manager(), port, turn.device(), {}};
  if constexpr (std::is_void_v<std::invoke_result_t<Work, Lane&>>) {
    work(lane);
    if (failure.kind != link::FailureKind::None) fail(port, failure);
    if (!turn.isRegistered() && !(lane.leavesRecords && isLost(lane))) {
      throw Failed{BX_E_NO_DEVICE, port + ": the device was removed meanwhile"};
    }
  } else if (!work(lane)) {
    fail(port, failure);
  }
  return std::move(lane.text);
} catch (const Failed&) {
  if (call.cancellation.isRequested()) throw Failed{BX_E_CANCELLED, port + ": cancelled"};
  throw;
}

template <typename Work>
int32_t operate(bx_manager* m, const char* port, bx_cancel* c, const Work& work, char** given = nullptr) {
  if (given != nullptr) *given = nullptr;
  return guarded([&] { give(given, operate(Call(m, c), portOf(port), work)); });
}

// A function that is no manager's.
template <typename Body>
int32_t inside(const Body& body) noexcept {
  return guarded([&] {
    const Call call;
    body();
  });
}

// The operation for one port, or when none is given for all, each on a thread of its own while the system has any. What
// the first port by name has thrown.
template <typename Operation>
std::exception_ptr forEach(const Call& call, const char* port, const Operation& operation) {
  const auto ports = port == nullptr ? call.manager().getPorts() : std::vector{portOf(port)};
  std::vector<std::future<void>> lanes;
  for (const auto& name : ports) {
    const auto policy = ports.size() == 1 ? std::launch::deferred : std::launch::async | std::launch::deferred;
    lanes.push_back(std::async(policy, [&] { operation(name); }));
  }
  std::exception_ptr failure;
  for (auto& lane : lanes) try {
      lane.get();
    } catch (...) {
      if (!failure) failure = std::current_exception();
    }
  return failure;
}

// A mode that the device is in already is not commanded: nothing else would tell that the port is closed.
void requireOpen(const Lane& lane) {
  if (!lane.device.getSerialCom().isConnected()) fail(lane.port, {link::FailureKind::NotOpen, {}, "it is not open"});
}

// No records wait. A hang-up is told once, and then that there is no device.
void tellLoss(const Call& call, const std::string& port) {
  const auto state = call.manager().getDeviceState(port);
  if (state && (!state->hungUp || state->recordsWaiting > 0)) return;
  if (!state || !setLossTold(*call.session, port, true)) throw Failed{BX_E_NO_DEVICE, port + noDevice};
  const link::Failure failure = link::lastFailure(port);
  const bool isIt = failure.kind == link::FailureKind::HungUp;
  throw Failed{BX_E_LINK, port + ": " + (isIt ? textOf(failure) : "the port was hung up")};
}

// Empties what a function gives.
template <typename Value>
void clear(Value* place, const char* otherwise) {
  require(place != nullptr, otherwise);
  *place = {};
}

}  // namespace

}  // namespace BX::c

using namespace BX::c;

uint32_t bx_version(void) { return BX_C_VERSION; }
const char* bx_last_error(void) { return lastError(); }
void bx_free(void* given) { std::free(given); }

int32_t bx_create(uint32_t version, bx_manager** m) {
  return inside([=] {
    clear(m, "there is no place for the manager");
    if (version / 10000 != BX_C_VERSION / 10000 || version / 100 > BX_C_VERSION / 100) {
      throw Failed{BX_E_VERSION, "the host was built for another version"};
    }
    *m = createManager();
  });
}

int32_t bx_destroy(bx_manager* m) {
  return inside([=] { destroy(m); });
}

int32_t bx_shutdown(void) { return guarded(shutDown); }

int32_t bx_cancel_create(bx_cancel** c) {
  return inside([=] {
    clear(c, "there is no place for the cancel");
    *c = createCancel();
  });
}

int32_t bx_cancel_signal(bx_cancel* c) {
  return inside([=] { signalCancel(c); });
}

int32_t bx_cancel_destroy(bx_cancel* c) {
  return inside([=] { destroyCancel(c); });
}

int32_t bx_set_baud(uint32_t baud) {
  return inside([=] {
    require(baud != 0, "no line has 0 bits a second");
    BX::link::Options options = BX::link::getOptions();
    options.baud = baud;
    BX::link::setOptions(options);
  });
}

int32_t bx_set_trace_file(const char* path) {
  return inside([=] {
    const std::string name = path == nullptr ? std::string() : textOf(path);
    if (!BX::link::setTraceFile(name)) throw Failed{BX_E_OPEN, name + ": " + std::generic_category().message(errno)};
  });
}

int32_t bx_list_ports(char** json) {
  return inside([=] {
    clear(json, "there is no place for the ports");
    std::vector<Json> ports;
    for (const auto& info : BX::link::listPorts()) {
      Json& document = ports.emplace_back();
      setText(document, "port", info.port);
      if (!info.stableName.empty()) setText(document, "stableName", info.stableName);
      if (!info.manufacturer.empty()) setText(document, "manufacturer", info.manufacturer);
      if (!info.product.empty()) setText(document, "product", info.product);
      if (!info.serialNumber.empty()) setText(document, "serialNumber", info.serialNumber);
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
    setLossTold(*call.session, port, false);
  });
}

int32_t bx_connect(bx_manager* m, const char* port, uint32_t skip_startup, bx_cancel* c, char** settings) {
  if (settings != nullptr) *settings = nullptr;
  return guarded([=] {
    const Call call(m, c);
    std::mutex mutex;
    Json connected;
    const auto connect = [&](const Lane& lane) {
      const Json settingsOfLane = lane.manager.connectDevice(lane.port, skip_startup != 0);
      if (settingsOfLane.getDocument().ObjectEmpty()) return false;
      const std::scoped_lock lock(mutex);
      return setDocument(connected, lane.port, getDocument(settingsOfLane, lane.port));
    };
    const auto failure = forEach(call, port, [&](const std::string& name) { operate(call, name, connect, true); });
    if (!failure || port == nullptr) give(settings, connected.toString());
    if (failure) std::rethrow_exception(failure);
  });
}

int32_t bx_disconnect(bx_manager* m, const char* port) {
  return guarded([=] {
    const Call call(m);
    const auto failure = forEach(call, port, [&](const std::string& name) {
      const BX::link::Cancellation::Scope scope(call.cancellation);
      if (!call.manager().removeDevice(name)) throw Failed{BX_E_NO_DEVICE, name + noDevice};
      destroyRemoved(*call.session, name);
    });
    if (failure) std::rethrow_exception(failure);
  });
}

int32_t bx_get_settings(bx_manager* m, const char* port, bx_cancel* c, char** json) {
  const auto get = [](Lane& lane) { lane.text = lane.manager.getDeviceSettings(lane.port).toString(); };
  return operate(m, port, c, get, json);
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
  return operate(m, port, c, [](Lane& lane) {
    requireOpen(lane);
    lane.device.setError(false);
    lane.manager.startTraining(lane.port);
    lane.leavesRecords = true;
  });
}

int32_t bx_stop_training(bx_manager* m, const char* port, bx_cancel* c) {
  return guarded([=] {
    const Call call(m, c);
    const auto stop = [](const Lane& lane) { lane.manager.stopTraining(lane.port); };
    const auto failure = forEach(call, port, [&](const std::string& name) { operate(call, name, stop); });
    if (failure) std::rethrow_exception(failure);
  });
}

int32_t bx_upload_target(bx_manager* m, const char* port, const char* type, const char* json, bx_cancel* c) {
  return operate(m, port, c, [=](const Lane& lane) {
    Json target = documentOf(json);
    return lane.manager.createTargetOnDevice(lane.port, targetTypeOf(type), target);
  });
}

int32_t bx_download_target(bx_manager* m, const char* port, const char* type, int32_t n, bx_cancel* c, char** json) {
  const auto download = [=](Lane& lane) {
    require(n >= 0 && n < 255, "a target has a number from 0 to 254");
    Json target;
    if (!lane.manager.downloadTarget(lane.port, targetTypeOf(type), n, target)) return false;
    return !(lane.text = target.toString()).empty();
  };
  return operate(m, port, c, download, json);
}

int32_t bx_use_target(bx_manager* m, const char* port, const char* type, int32_t n) {
  return operate(m, port, nullptr, [=](const Lane& lane) {
    require(n >= 0 && n <= 255, "a target has a number from 0 to 254, and 255 is none");
    lane.device.setTargetInUse(targetTypeOf(type), n);
  });
}

int32_t bx_get_targets(bx_manager* m, const char* port, char** json) {
  const auto get = [](Lane& lane) { lane.text = arrayOf(lane.manager.getTargets(lane.port)); };
  return operate(m, port, nullptr, get, json);
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

int32_t bx_take_records(bx_manager* m, const char* given, bx_record* out, size_t capacity, size_t* count, char** json) {
  if (json != nullptr) *json = nullptr;
  return guarded([=] {
    const Call call(m);
    const std::string port = portOf(given);
    clear(count, "there is no place for the count");
    require(out != nullptr || capacity == 0, "there is no place for the records");
    const auto records = call.manager().takeTrainingFrames(port, capacity);
    if (records.empty()) tellLoss(call, port);
    *count = static_cast<std::size_t>(std::ranges::transform(records, out, recordOf).out - out);
    if (json != nullptr) give(json, linesOf(records, out));
  });
}

int32_t bx_get_state(bx_manager* m, const char* port, bx_state* out) {
  return guarded([=] {
    const Call call(m);
    clear(out, "there is no place for the state");
    const std::string name = portOf(port);
    const auto device = call.manager().getDeviceState(name);
    if (!device) throw Failed{BX_E_NO_DEVICE, name + noDevice};
    *out = stateOf(*device, BX::link::statistics(name));
  });
}
