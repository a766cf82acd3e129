#include "simulator/Core.h"

#include <algorithm>
#include <boost/asio/dispatch.hpp>
#include <boost/asio/post.hpp>
#include <future>

namespace BX::sim {

namespace {

using namespace std::chrono_literals;

// Two windows: one under way and one waiting, so that the line never idles and a slow host finds little before the
// answer to its next request.
constexpr std::size_t streamBacklog = 14;
// Fast streams send several payloads at a time.
constexpr auto streamTick = 5ms;
// A stream that was held up catches up with no more than this.
constexpr auto streamLag = 1s;
constexpr double longestPeriod = 3600;
constexpr auto drainLimit = 1s;

link::Timing timing(const Options& options) {
  link::Timing timing;
  timing.baud = options.baud;
  timing.resend = options.resend + options.latency;
  timing.sends = options.sends;
  return timing;
}

std::chrono::nanoseconds period(double rate) {
  const std::chrono::duration<double> seconds(std::min(1.0 / rate, longestPeriod));
  return std::chrono::duration_cast<std::chrono::nanoseconds>(seconds);
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
      station_(link::Role::Secondary, timing(options_)),
      fromHost_(options_.baud),
      toHost_(options_.baud, options_.latency),
      streamPeriod_(period(options_.rate)),
      work_(io_.get_executor()),
      timer_(io_),
      line_(std::move(line)) {
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
  std::promise<void> done;
  boost::asio::dispatch(io_, [&] {
    closeLine();
    done.set_value();
  });
  done.get_future().wait();
}

void Simulator::Core::closeLine() {
  if (!line_) return;
  line_->close();
  line_.reset();
  hostGone();
}

void Simulator::Core::hostGone() {
  station_.restart();
  decoder_.reset();
  fromHost_.clear();
  toHost_.clear();
  model_.rest();
  step();
}

void Simulator::Core::beginDrain() {
  model_.rest();
  drainUntil_ = std::chrono::steady_clock::now() + drainLimit;
  step();
}

bool Simulator::Core::drained(Time now) const {
  return now >= *drainUntil_ || (station_.backlog() == 0 && toHost_.empty());
}

void Simulator::Core::step() {
  const Time now = std::chrono::steady_clock::now();
  const link::FrameDecoder::Sink sink = [&](std::span<const std::uint8_t> content) { frameFromHost(content, now); };
  while (const auto bytes = fromHost_.takeDue(now)) decoder_.feed(*bytes, sink);
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
  while (!bytes.empty()) {
    const auto end = std::find(bytes.begin(), bytes.end(), link::frameDelimiter);
    const auto size = static_cast<std::size_t>(end - bytes.begin()) + (end == bytes.end() ? 0 : 1);
    fromHost_.push(Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size)), now);
    bytes = bytes.subspan(size);
  }
}

void Simulator::Core::frameFromHost(std::span<const std::uint8_t> content, Time now) {
  station_.receive(content, now);
  settle(now);
}

void Simulator::Core::frameToHost(Bytes frame, Time now) { toHost_.push(std::move(frame), now); }

void Simulator::Core::payloadFromHost(const link::Message& request, Time now) {
  transcript_.addFromHost(request.payload);
  const bool streamed = model_.hasStreamed();
  std::vector<Bytes> answer = model_.answer(request.payload);
  for (std::size_t i = 0; i < answer.size(); ++i) {
    payloadToHost({request.tag, i + 1 < answer.size(), std::move(answer[i])}, now);
  }
  if (!streamed) streamDue_ = now;
}

void Simulator::Core::payloadToHost(link::Message message, Time now) { station_.send(std::move(message), now); }

void Simulator::Core::settle(Time now) {
  for (bool more = true; more;) {
    link::Station::Output output = station_.take(now);
    for (Bytes& frame : output.frames) frameToHost(std::move(frame), now);
    for (const link::Message& message : output.acknowledged) transcript_.addToHost(message.payload);
    if (output.down || output.sessionBegan) model_.rest();
    for (const link::Message& request : output.delivered) payloadFromHost(request, now);
    more = !output.delivered.empty();
  }
}

void Simulator::Core::stream(Time now) {
  if (!model_.hasStreamed()) return;
  streamDue_ = std::max(streamDue_, now - streamLag);
  while (model_.hasStreamed() && streamDue_ <= now && station_.backlog() < streamBacklog) {
    payloadToHost({link::streamTag, false, model_.nextStreamed()}, now);
    streamDue_ += streamPeriod_;
  }
  settle(now);
}

void Simulator::Core::flush(Time now) {
  while (auto frame = toHost_.takeDue(now)) {
    if (line_) line_->write(std::move(*frame));
  }
}

std::optional<Simulator::Core::Time> Simulator::Core::nextEvent(Time now) const {
  std::optional<Time> earliest = station_.deadline();
  keepEarlier(earliest, fromHost_.due());
  keepEarlier(earliest, toHost_.due());
  keepEarlier(earliest, drainUntil_);
  if (model_.hasStreamed() && station_.backlog() < streamBacklog) {
    keepEarlier<Time>(earliest, streamPeriod_ < streamTick ? std::max(streamDue_, now + streamTick) : streamDue_);
  }
  return earliest;
}

}  // namespace BX::sim
