#include "simulator/Core.h"

#include <algorithm>
#include <boost/asio/post.hpp>
#include <utility>

namespace BX::sim {

namespace {

using namespace std::chrono_literals;

// Two windows: one under way and one waiting, so that the line never idles and a slow host finds little before the
// answer to its next request.
constexpr std::size_t streamBacklog = 14;
// Fast streams send several payloads at a time.
constexpr auto streamTick = 5ms;
constexpr double longestPeriod = 3600;
constexpr auto drainLimit = 1s;
// More bytes without a delimiter than any frame has need not be kept together.
constexpr std::size_t maxFragment = 1024;

link::Timing timing(const Options& options) {
  link::Timing timing;
  timing.baud = options.baud;
  timing.resend = options.resend + options.latency;
  timing.silence = options.silence;
  return timing;
}

// How long a stalled line stalls: past the time-out, well before the session is given up.
std::chrono::milliseconds stallOf(const Options& options) { return timing(options).resend * 5 / 2; }

std::chrono::nanoseconds period(double rate) {
  const std::chrono::duration<double> seconds(std::min(1.0 / rate, longestPeriod));
  return std::chrono::duration_cast<std::chrono::nanoseconds>(seconds);
}

bool changesMode(const Bytes& request, const std::vector<Bytes>& answer) {
  return !request.empty() && request[0] == wire::setMode && answer.front()[0] == wire::accepted;
}

template <typename Time>
void keepEarlier(std::optional<Time>& earliest, const std::optional<Time>& other) {
  if (other && (!earliest || *other < *earliest)) earliest = other;
}

}  // namespace

Simulator::Core::Core(Options options, std::unique_ptr<link::Transport> line)
    : options_(std::move(options)),
      transcript_(options_.transcript, options_.keepTranscript),
      model_(options_),
      station_(link::Role::Responder, timing(options_)),
      fromHost_{Pacer(options_.baud), {}},
      toHost_{Pacer(options_.baud, options_.latency), {}},
      streamPeriod_(period(options_.rate)),
      work_(io_.get_executor()),
      timer_(io_),
      line_(std::move(line)) {
  if (!options_.faults.empty() || options_.noise) faults_.emplace(options_.faults, options_.noise);
  line_->open({[this](std::span<const std::uint8_t> bytes) {
                 boost::asio::post(io_, [this, copy = Bytes(bytes.begin(), bytes.end())] {
                   bytesFromHost(copy, std::chrono::steady_clock::now());
                   step();
                 });
               },
               [this](const std::string&) { boost::asio::post(io_, [this] { hostGone(); }); }});
  thread_ = std::thread([this] { io_.run(); });
}

Simulator::Core::~Core() {
  boost::asio::post(io_, [this] { beginDrain(); });
  thread_.join();
}

void Simulator::Core::hangUp() {
  onThread([this] { closeLine(); });
}

void Simulator::Core::setFaults(const std::vector<FaultRule>& faults) {
  onThread([&] {
    if (!faults_) faults_.emplace(std::vector<FaultRule>{}, options_.noise);
    faults_->setRules(faults);
  });
}

std::size_t Simulator::Core::faultsWaiting() {
  return onThread([&] { return faults_ ? faults_->waiting() : 0; });
}

std::size_t Simulator::Core::frameCount(Direction direction, FrameKind kind) {
  return onThread([&] { return faults_ ? faults_->count(direction, kind) : 0; });
}

void Simulator::Core::closeLine() {
  if (!line_) return;
  line_->close();
  line_.reset();
  hostGone();
}

void Simulator::Core::hostGone() {
  restart();
  decoder_.reset();
  fragment_.clear();
  fromHost_.clear();
  toHost_.clear();
  step();
}

void Simulator::Core::restart() {
  station_.restart();
  model_.rest();
}

void Simulator::Core::cutLine() {
  closeLine();
  if (options_.hungUp) options_.hungUp();
}

void Simulator::Core::beginDrain() {
  model_.rest();
  drainUntil_ = std::chrono::steady_clock::now() + drainLimit;
  step();
}

bool Simulator::Core::drained(Time now) const {
  return now >= *drainUntil_ || (station_.backlog() == 0 && toHost_.pacer.empty());
}

void Simulator::Core::step() {
  const Time now = std::chrono::steady_clock::now();
  while (const auto piece = fromHost_.pacer.takeDue(now)) receive(*piece, now);
  station_.advance(now);
  settle(now);
  stream(now);
  flush(now);
  if (drainUntil_ && drained(now)) {
    drainUntil_.reset();
    closeLine();
    timer_.cancel();
    work_.reset();
    return;
  }
  if (const auto next = nextEvent(now)) {
    timer_.expires_at(*next);
    timer_.async_wait([this](const boost::system::error_code& error) {
      if (!error) step();
    });
  } else {
    timer_.cancel();
  }
}

void Simulator::Core::bytesFromHost(std::span<const std::uint8_t> bytes, Time now) {
  for (const std::uint8_t byte : bytes) {
    fragment_.push_back(byte);
    if (byte == link::frameDelimiter || fragment_.size() >= maxFragment) {
      pieceFromHost(std::exchange(fragment_, {}), now);
    }
  }
}

void Simulator::Core::pieceFromHost(Bytes piece, Time now) {
  send(fromHost_, fateOf(Direction::ToDevice, std::move(piece)), now);
}

void Simulator::Core::receive(const Bytes& piece, Time now) {
  if (piece.empty()) {
    const FaultEffect event = fromHost_.events.front();
    fromHost_.events.pop_front();
    if (event == FaultEffect::Restart) return restart();
    return cutLine();
  }
  decoder_.feed(piece, [&](std::span<const std::uint8_t> content) {
    station_.receive(content, now);
    settle(now);
  });
}

bool Simulator::Core::frameToHost(Bytes frame, Time now) {
  FaultInjector::Fate fate = fateOf(Direction::ToHost, std::move(frame));
  if (fate.event == FaultEffect::Restart) {
    restart();
    return false;
  }
  send(toHost_, std::move(fate), now);
  return true;
}

FaultInjector::Fate Simulator::Core::fateOf(Direction direction, Bytes piece) {
  if (!faults_) return {{std::move(piece)}, std::nullopt};
  return faults_->judge(direction, std::move(piece));
}

void Simulator::Core::send(Path& path, FaultInjector::Fate fate, Time now) {
  if (fate.event == FaultEffect::Delay) path.pacer.stall(stallOf(options_), now);
  for (Bytes& piece : fate.pieces) path.pacer.push(std::move(piece), now);
  if (fate.event == FaultEffect::Restart || fate.event == FaultEffect::HangUp) {
    path.events.push_back(*fate.event);
    path.pacer.push({}, now);
  }
}

std::vector<Bytes> Simulator::Core::answer(const Bytes& request) {
  if (!faults_) return model_.answer(request);
  const bool refused = faults_->refuses(request);
  const bool refusedAfterwards = faults_->refusesAfterwards(request);
  std::vector<Bytes> answer;
  if (!refused) answer = model_.answer(request);
  if (refused || refusedAfterwards) answer = {DeviceModel::refusalOf(request)};
  return answer;
}

void Simulator::Core::payloadFromHost(const link::Message& request, Time now) {
  transcript_.addFromHost(request.payload);
  const bool streamed = model_.hasStreamed();
  std::vector<Bytes> payloads = answer(request.payload);
  if (changesMode(request.payload, payloads)) {  // no record of an earlier mode follows its answer
    station_.dropUnsent(link::streamTag);
    streamDue_ = now;
  }
  for (std::size_t i = 0; i < payloads.size(); ++i) {
    station_.send({request.tag, i + 1 < payloads.size(), std::move(payloads[i])}, now);
  }
  if (!streamed) streamDue_ = now;
}

void Simulator::Core::settle(Time now) {
  for (bool more = true; more;) {
    link::Station::Output output = station_.take(now);
    for (Bytes& frame : output.frames) {
      if (!frameToHost(std::move(frame), now)) return;
    }
    for (const link::Message& message : output.acknowledged) transcript_.addToHost(message.payload);
    if (output.ended || output.sessionBegan) model_.rest();
    for (const link::Message& request : output.delivered) payloadFromHost(request, now);
    more = !output.delivered.empty();
  }
}

void Simulator::Core::stream(Time now) {
  if (!model_.hasStreamed()) return;
  streamDue_ = std::max(streamDue_, now - options_.silence);
  while (model_.hasStreamed() && streamDue_ <= now && station_.backlog() < streamBacklog) {
    station_.send({link::streamTag, false, model_.nextStreamed()}, now);
    streamDue_ += streamPeriod_;
  }
  settle(now);
}

void Simulator::Core::flush(Time now) {
  while (auto piece = toHost_.pacer.takeDue(now)) {
    if (piece->empty()) return cutLine();
    if (line_) line_->write(std::move(*piece));
  }
}

std::optional<Simulator::Core::Time> Simulator::Core::nextEvent(Time now) const {
  std::optional<Time> earliest = station_.deadline();
  keepEarlier(earliest, fromHost_.pacer.due());
  keepEarlier(earliest, toHost_.pacer.due());
  keepEarlier(earliest, drainUntil_);
  if (model_.hasStreamed() && station_.backlog() < streamBacklog) {
    keepEarlier<Time>(earliest, streamPeriod_ < streamTick ? std::max(streamDue_, now + streamTick) : streamDue_);
  }
  return earliest;
}

}  // namespace BX::sim
