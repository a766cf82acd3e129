#include "Broker.h"

#include <mosquitto.h>
#include <mqtt_protocol.h>
#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <thread>
#include <utility>

namespace BX::range {

namespace {

using namespace std::chrono_literals;

constexpr int qualityOfService = 1;
constexpr int keepAliveSeconds = 10;  // the broker misses a client that is silent for half as long again
constexpr auto connectPatience = 10s;
constexpr auto noAnswer = "no answer within 10 s";  // to connect, or to a sign of life
// Two clients of one name that throw each other out are not to do so all the time.
constexpr auto lastingConnection = 10s;
constexpr std::chrono::milliseconds firstRetry = 500ms;
constexpr std::chrono::milliseconds lastRetry = 10s;

void initialiseLibrary() { [[maybe_unused]] static const int initialised = mosquitto_lib_init(); }

// Of a call of the library; errno must still stand.
std::string reasonOf(int code) {
  if (code == MOSQ_ERR_KEEPALIVE) return noAnswer;  // the library has no words for it
  return code == MOSQ_ERR_ERRNO ? std::generic_category().message(errno) : mosquitto_strerror(code);
}

// Of a callback: the broker's reason, or the library's.
std::string reasonOfEnd(int code) {
  return code >= MQTT_RC_UNSPECIFIED ? mosquitto_reason_string(code) : reasonOf(code);
}

std::string withoutFullStop(std::string text) {
  if (text.ends_with('.')) text.pop_back();
  return text;
}

}  // namespace

// The library is C: nothing may be thrown through it.
struct Broker::Callbacks {
  static Broker& of(void* object) { return *static_cast<Broker*>(object); }

  static void connected(mosquitto* /*client*/, void* object, int code, int /*flags*/,
                        const mosquitto_property* /*properties*/) {
    if (code != MQTT_RC_SUCCESS) {
      of(object).lossReason_ = mosquitto_reason_string(code);
    } else {
      of(object).subscribe();
    }
  }

  static void subscribed(mosquitto* /*client*/, void* object, int /*id*/, int count, const int* granted,
                         const mosquitto_property* /*properties*/) {
    Broker& broker = of(object);
    for (int i = 0; i < count; ++i) {
      if (granted[i] >= MQTT_RC_UNSPECIFIED) {
        broker.tellTrouble(broker.name() + ": subscribe: " + mosquitto_reason_string(granted[i]));
      }
    }
    if (broker.subscribing_ > 0) --broker.subscribing_;
  }

  static void disconnected(mosquitto* /*client*/, void* object, int code, const mosquitto_property* /*properties*/) {
    Broker& broker = of(object);
    if (code == MQTT_RC_SESSION_TAKEN_OVER) broker.hasLeft_ = true;
    if (broker.lossReason_.empty()) broker.lossReason_ = reasonOfEnd(code);
  }

  static void published(mosquitto* /*client*/, void* object, int id, int code,
                        const mosquitto_property* /*properties*/) {
    Broker& broker = of(object);
    const auto found = broker.unconfirmed_.find(id);
    if (found == broker.unconfirmed_.end()) return;
    if (code >= MQTT_RC_UNSPECIFIED) {
      broker.tellTrouble(broker.name() + ": publish " + found->second + ": " + mosquitto_reason_string(code));
    }
    broker.unconfirmed_.erase(found);
  }

  static void received(mosquitto* /*client*/, void* object, const mosquitto_message* message,
                       const mosquitto_property* /*properties*/) {
    const auto size = static_cast<std::size_t>(message->payloadlen);
    of(object).arrived_.push_back(
        {message->topic, std::string(static_cast<const char*>(message->payload), size), message->retain});
  }

  static void logged(mosquitto* /*client*/, void* object, int level, const char* text) {
    std::string& detail = of(object).detail_;
    if (level == MOSQ_LOG_ERR && detail.empty()) detail = text;  // the first is the cause of the others
  }
};

void Broker::Destroy::operator()(mosquitto* client) const { mosquitto_destroy(client); }

Broker::Broker(tool::Console& console, BrokerSettings settings, Events events)
    : console_(console), settings_(std::move(settings)), events_(std::move(events)), retryAfter_(firstRetry) {
  initialiseLibrary();
}

Broker::~Broker() = default;

std::string Broker::name() const { return settings_.address.host + ':' + std::to_string(settings_.address.port); }

void Broker::run(const std::function<bool()>& goesOn) {
  while (goesOn()) {
    const auto nextTick = Clock::now() + tickInterval;
    do {
      step(nextTick);
    } while (Clock::now() < nextTick);
    if (events_.tick) events_.tick();
  }
}

void Broker::finish(std::chrono::milliseconds patience) {
  const auto end = Clock::now() + patience;
  while (isConnected_ && !unconfirmed_.empty() && Clock::now() < end) step(std::min(end, Clock::now() + tickInterval));
  if (client_ && isConnected_) mosquitto_disconnect_v5(client_.get(), MQTT_RC_DISCONNECT_WITH_WILL_MSG, nullptr);
  client_.reset();
  isConnected_ = false;
}

bool Broker::publish(const std::string& topic, const std::string& payload, bool isRetained) {
  if (!isConnected_) return false;
  int id = 0;
  const int code = mosquitto_publish_v5(client_.get(), &id, topic.c_str(), static_cast<int>(payload.size()),
                                        payload.data(), qualityOfService, isRetained, nullptr);
  // Without a connection the library queues it all the same: what is queued goes with the client.
  if (code == MOSQ_ERR_SUCCESS || code == MOSQ_ERR_NO_CONN) unconfirmed_.emplace(id, topic);
  if (code != MOSQ_ERR_SUCCESS && code != MOSQ_ERR_NO_CONN) tellTrouble(name() + ": publish: " + reasonOf(code));
  return code == MOSQ_ERR_SUCCESS;
}

// A client of its own for each connection, so that nothing of the one before is sent again.
void Broker::begin() {
  lossReason_.clear();
  detail_.clear();
  unconfirmed_.clear();
  arrived_.clear();
  subscribing_ = 0;
  deadline_ = Clock::now() + connectPatience;
  const auto& id = settings_.clientName;
  client_.reset(mosquitto_new(id.empty() ? nullptr : id.c_str(), true, this));
  if (!client_) throw tool::Failure(tool::deviceFailed, name() + ": connect: " + reasonOf(MOSQ_ERR_ERRNO));
  configure();
  const auto& address = settings_.address;
  const int code =
      mosquitto_connect_bind_async(client_.get(), address.host.c_str(), address.port, keepAliveSeconds, {});
  if (code != MOSQ_ERR_SUCCESS) lose(reasonOf(code));
}

void Broker::configure() {
  mosquitto* const client = client_.get();
  const auto& address = settings_.address;
  const auto require = [&](int code, const std::string& thing) {
    if (code != MOSQ_ERR_SUCCESS) throw tool::Failure(tool::wrongUsage, thing + ": " + withoutFullStop(reasonOf(code)));
  };
  mosquitto_int_option(client, MOSQ_OPT_PROTOCOL_VERSION, MQTT_PROTOCOL_V5);
  mosquitto_int_option(client, MOSQ_OPT_TCP_NODELAY, 1);
  if (!address.user.empty()) {
    const char* const password = address.password.empty() ? nullptr : address.password.c_str();
    require(mosquitto_username_pw_set(client, address.user.c_str(), password), name() + ": user and password");
  }
  if (!address.ca.empty()) {
    require(mosquitto_tls_set(client, address.ca.c_str(), nullptr, nullptr, nullptr, nullptr), address.ca + ": read");
  }
  if (const auto& will = settings_.will; !will.topic.empty()) {
    require(mosquitto_will_set_v5(client, will.topic.c_str(), static_cast<int>(will.payload.size()),
                                  will.payload.data(), qualityOfService, true, nullptr),
            will.topic + ": will");
  }
  mosquitto_connect_v5_callback_set(client, Callbacks::connected);
  mosquitto_subscribe_v5_callback_set(client, Callbacks::subscribed);
  mosquitto_disconnect_v5_callback_set(client, Callbacks::disconnected);
  mosquitto_publish_v5_callback_set(client, Callbacks::published);
  mosquitto_message_v5_callback_set(client, Callbacks::received);
  mosquitto_log_callback_set(client, Callbacks::logged);
}

void Broker::subscribe() {
  for (const auto& filter : settings_.subscriptions) {
    mosquitto_subscribe_v5(client_.get(), nullptr, filter.c_str(), qualityOfService, 0, nullptr);
  }
  subscribing_ = settings_.subscriptions.size();
  deadline_ = Clock::time_point::max();
}

// By poll: the library's own loop selects, which a program with a thousand descriptors cannot.
int Broker::exchange(Clock::time_point until) {
  mosquitto* const client = client_.get();
  const auto patience = std::chrono::ceil<std::chrono::milliseconds>(until - Clock::now());
  const short wanted = mosquitto_want_write(client) ? POLLIN | POLLOUT : POLLIN;
  pollfd socket = {mosquitto_socket(client), wanted, 0};
  ::poll(&socket, 1, static_cast<int>(std::max(patience, 0ms).count()));
  int code = MOSQ_ERR_SUCCESS;
  if ((socket.revents & POLLOUT) != 0) code = mosquitto_loop_write(client, 1);
  if (code == MOSQ_ERR_SUCCESS && (socket.revents & ~POLLOUT) != 0) code = mosquitto_loop_read(client, 1);
  return code == MOSQ_ERR_SUCCESS ? mosquitto_loop_misc(client) : code;
}

// Waits for the network, or for the time of the next try, but not beyond `until`.
void Broker::step(Clock::time_point until) {
  if (!client_ && !hasLeft_ && Clock::now() >= retryAt_) begin();
  if (!client_) return std::this_thread::sleep_until(hasLeft_ ? until : std::min(until, retryAt_));
  const int code = exchange(until);
  const std::string reason = code == MOSQ_ERR_SUCCESS ? std::string() : reasonOf(code);
  if (code == MOSQ_ERR_SUCCESS && lossReason_.empty() && !isConnected_ && subscribing_ == 0 &&
      deadline_ == Clock::time_point::max()) {
    isConnected_ = true;
    connectedAt_ = Clock::now();
    detail_.clear();
    if (std::exchange(wasConnected_, true) || !trouble_.empty()) console_.note(name() + ": connected");
    trouble_.clear();
    dispatch();
    if (isConnected_ && events_.connected) events_.connected();
  }
  dispatch();
  if (!client_) return;  // the role has left
  if (!lossReason_.empty() || code != MOSQ_ERR_SUCCESS) return lose(lossReason_.empty() ? reason : lossReason_);
  if (Clock::now() >= deadline_) lose(noAnswer);
}

void Broker::dispatch() {
  if (!isConnected_) return;  // they wait until their role is told of the connection
  for (const auto& message : std::exchange(arrived_, {})) {
    if (client_) events_.received(message);
  }
}

void Broker::lose(const std::string& reason) {
  const std::string step = isConnected_ ? ": " : ": connect: ";
  if (isConnected_ && Clock::now() - connectedAt_ >= lastingConnection) retryAfter_ = firstRetry;
  isConnected_ = false;
  std::string text = name() + step + withoutFullStop(reason);
  if (!detail_.empty()) text += " (" + detail_ + ')';
  client_.reset();
  retryAt_ = Clock::now() + retryAfter_;
  retryAfter_ = std::min(2 * retryAfter_, lastRetry);
  if (hasLeft_) return leave();
  tellTrouble(text + "; trying again");
}

void Broker::leave() {
  if (client_) mosquitto_disconnect_v5(client_.get(), MQTT_RC_NORMAL_DISCONNECTION, nullptr);
  client_.reset();
  isConnected_ = false;
  hasLeft_ = true;
  console_.error(name() + ": thrown out: another client has taken the name \"" + settings_.clientName +
                 "\"; nothing is published or read any more");
}

// The same trouble is told once.
void Broker::tellTrouble(const std::string& text) {
  if (std::exchange(trouble_, text) != text) console_.warning(text);
}

}  // namespace BX::range
