// Training, across losses of the line.
#include <algorithm>
#include <sstream>
#include <utility>

#include "Connection.h"
#include "Documents.h"
#include "Interrupt.h"
#include "Recorder.h"
#include "Training.h"
#include "bx/DocumentKeys.h"
#include "morva/KeyedAccess.h"

namespace BX::tool {

namespace {

using Clock = std::chrono::steady_clock;

// A record takes about 1.3 KB: a reader that stands still shall not take all of the memory.
constexpr std::size_t mostWaiting = 100'000;
constexpr Milliseconds retryInterval{250};  // between the end of a try and the next one

Clock::time_point after(Clock::time_point start, double seconds) {
  return start + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
}

std::string secondsText(double seconds) {
  std::ostringstream text;
  text << seconds << " s";
  return text.str();
}

class TrainSession {
 public:
  TrainSession(Tool& tool, const TrainOptions& options)
      : tool_(tool),
        options_(options),
        configuration_(loadConfiguration(tool, options.files)),
        recorder_(tool.console, options.port, {options.output, tool.global.overwrite, options.shotsOnly}) {}

  ~TrainSession() { setLastWords({}); }
  TrainSession(const TrainSession&) = delete;
  TrainSession& operator=(const TrainSession&) = delete;

  void run() {
    begin();
    const std::string problem = record();
    connection_.reset();  // the port is free while a slow reader takes the rest
    if (!problem.empty() && recorder_.waiting() != 0) tool_.console.error(problem);
    recorder_.finish();
    if (!problem.empty()) throw Failure(deviceFailed, problem + recorder_.kept());
    tool_.console.note(recorder_.summary());
  }

 private:
  void begin() {
    connect();
    if (!target_) warnOfTarget();
    start();
    Json header;
    MORVA::setText(header, "start", timeNow());
    MORVA::setText(header, "port", options_.port);
    MORVA::setDocument(header, "device", connection_->settings());
    MORVA::setDocument(header, "session", configuration_.session.value_or(Json()));
    // After a loss the same settings are written again, those that were read included.
    if (configuration_.any() && !configuration_.device) configuration_.device = connection_->settings();
    recorder_.begin(std::move(header), target_);
    setLastWords([this] {
      return "bx: ended at once" + recorder_.kept() + "; " + std::to_string(recorder_.waiting()) + " more were waiting";
    });
  }

  void warnOfTarget() {
    // Settings that are written without a target say that none is in use.
    const std::int32_t inUse = configuration_.any() ? noTarget : connection_->device().reportedTargets().ring;
    const std::string number = std::to_string(inUse);
    tool_.console.warning(
        options_.port +
        (inUse == noTarget
             ? ": no target is given, and the device tells of none in use: --target FILE uploads one"
             : ": no target is given, but the device has ring target " + number +
                   " in use: positions and distances are wrong from the second shot on; --target-number " + number +
                   " or --target FILE tells it"));
  }

  void start() {
    startTraining(*connection_);
    if (recorder_.showsTable()) tool_.console.progress("");
  }

  // As far as a device that has all settings.
  void connect() {
    if (recorder_.showsTable()) tool_.console.progress("Connecting...");
    connection_.emplace(tool_, options_.port);
    if (options_.targetNumber) useStoredTarget(*options_.targetNumber);
    if (configuration_.target) target_ = configuration_.target->document;
    configure(tool_, *connection_, configuration_);
  }

  // Changes nothing on the device.
  void useStoredTarget(int number) {
    auto& device = connection_->device();
    connection_->begin();
    device.setDeviceMode(BXSerialCom::TRANSFER, false);
    const bool complete = device.downloadRingTarget(number);
    device.setDeviceMode(BXSerialCom::RESTING, false);
    if (!complete) connection_->fail("download target");
    device.setTargetInUse(text::ring, number);
    target_ = device.getAllTargets().front();
  }

  // Trains until it is over, and gives what went wrong; empty when nothing did.
  std::string record() {
    std::optional<Clock::time_point> end;
    if (options_.seconds > 0) end = after(Clock::now(), options_.seconds);
    std::size_t shots = 0;
    const auto take = [&](Json record) {
      if (isShot(record)) ++shots;
      recorder_.add(std::move(record));
      return options_.shots == 0 || shots < options_.shots;
    };
    const auto goesOn = [&] {
      const bool late = end && Clock::now() >= *end;
      return !late && !recorder_.isOver() && recorder_.waiting() < mostWaiting;
    };
    while (const auto loss = followTraining(*connection_, take, goesOn)) {
      std::string problem =
          options_.port + (loss->atEnd ? ": stop training: " : ": training: ") + explain(loss->failure);
      if (loss->atEnd || options_.retry <= 0) return problem;
      const auto obstacle = comeBack(problem, end);
      if (obstacle) return interrupted() ? std::string() : problem + "; " + *obstacle;
      recorder_.endGap();
    }
    if (recorder_.waiting() < mostWaiting) return {};
    return options_.port + ": training: ended: " + std::to_string(mostWaiting) + " records wait for their reader";
  }

  // Tries until it trains again. The result is why it could not.
  std::optional<std::string> comeBack(const std::string& problem, std::optional<Clock::time_point> end) {
    tool_.console.warning(problem + "; trying again for " + secondsText(options_.retry));
    auto until = after(Clock::now(), options_.retry);
    if (end) until = std::min(until, *end);
    const link::Cancellation::Scope cancelled(interruption());
    for (;;) {
      connection_.reset();
      std::string obstacle;
      try {
        connect();
        start();
        tool_.console.note(options_.port + ": training goes on");
        return std::nullopt;
      } catch (const Failure& failure) {
        obstacle = failure.what();
      }
      if (Clock::now() >= until || interrupted()) return "not within " + secondsText(options_.retry) + ": " + obstacle;
      link::wait(retryInterval);
    }
  }

  Tool& tool_;
  const TrainOptions& options_;
  Configuration configuration_;
  std::optional<Json> target_;
  std::optional<Connection> connection_;
  Recorder recorder_;
};

}  // namespace

void runTrain(Tool& tool, const TrainOptions& options) { TrainSession(tool, options).run(); }

}  // namespace BX::tool
