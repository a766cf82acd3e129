// Training, across losses of the line.
#include <algorithm>
#include <sstream>
#include <utility>

#include "Connection.h"
#include "Documents.h"
#include "InputFile.h"
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
constexpr std::size_t manyWaiting = 1000;   // more than a reader is behind that reads
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
        recorder_(tool.console, options.port, {options.output, tool.global.overwrite, options.shotsOnly},
                  options.live) {
    if (!options.output.empty() && options.output == tool.global.trace) {
      throw Failure(wrongUsage, options.output + ": is given as --output and as --trace");
    }
    refuseInput(options.output, options.files.device, "file of device settings");
    refuseInput(options.output, options.files.session, "file of session settings");
    refuseInput(options.output, options.files.target, "target");
  }

  ~TrainSession() { setLastWords({}); }
  TrainSession(const TrainSession&) = delete;
  TrainSession& operator=(const TrainSession&) = delete;

  void run() {
    begin();
    const std::string problem = record();
    connection_.reset();  // the port is free while a slow reader takes the rest
    if (recorder_.waiting() >= manyWaiting) tellWaiting(problem);
    recorder_.finish();
    if (!problem.empty()) throw Failure(deviceFailed, problem + recorder_.kept());
    tool_.console.note(recorder_.summary());
  }

 private:
  void begin() {
    connect();
    warnOfTarget();
    recorder_.open();
    setLastWords([this] {
      return "bx: ended at once" + recorder_.kept() + "; " + std::to_string(recorder_.waiting()) + " more were waiting";
    });
    startTraining(*connection_);
    Json header;
    MORVA::setText(header, "start", timeNow());
    MORVA::setText(header, "port", options_.port);
    MORVA::setDocument(header, "device", settingsNow());
    MORVA::setDocument(header, "session", configuration_.session.value_or(Json()));
    // After a loss the same settings are written again, those that were read included.
    if (configuration_.any() && !configuration_.device) configuration_.device = connection_->settings();
    recorder_.begin(std::move(header), target_);
  }

  // What the device has reported, as far as it has not been written since.
  Json settingsNow() const {
    Json settings = connection_->settings();
    if (!configuration_.device) return settings;
    auto& root = settings.getDocument();
    const auto& written = configuration_.device->getDocument();
    for (auto& member : root.GetObject()) {
      const auto found = written.FindMember(member.name);
      if (found != written.MemberEnd()) member.value.CopyFrom(found->value, root.GetAllocator());
    }
    return settings;
  }

  void warnOfTarget() {
    const auto inUse = connection_->device().reportedTargets();
    const std::string ring = std::to_string(inUse.ring);
    const std::string silhouette = std::to_string(inUse.silhouette);
    std::string text;
    if (configuration_.target || (options_.targetNumber && configuration_.any())) return;
    if (options_.targetNumber) {
      if (inUse.ring == *options_.targetNumber) return;
      text = "the device tells of " + (inUse.ring == noTarget ? "no ring target" : "ring target " + ring) +
             " in use, not of " + std::to_string(*options_.targetNumber);
    } else if (configuration_.any()) {
      text = "no target is given, so none is in use from now on: --target FILE or --target-number N puts one in use";
    } else if (inUse.ring != noTarget) {
      text = "no target is given, but the device has ring target " + ring +
             " in use: positions and distances are wrong from the second shot on; --target-number " + ring +
             " or --target FILE tells it";
    } else if (inUse.silhouette != noTarget) {
      text = "no target is given, but the device has silhouette target " + silhouette +
             " in use: the session does not tell it; --target FILE does";
    } else {
      text = "no target is given, and the device tells of none in use: --target FILE uploads one";
    }
    recorder_.warn(options_.port + ": " + text);
  }

  // As far as a device that has all settings.
  void connect() {
    recorder_.showConnecting();
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
    target_ = device.getAllTargets().front();
    if (MORVA::getInteger(*target_, key::ring::ringTargetNumber) != number) {
      throw Failure(deviceFailed, options_.port + ": download target: the device's answer is no ring target");
    }
    device.setTargetInUse(text::ring, number);
  }

  void tellWaiting(const std::string& problem) {
    if (!problem.empty()) return tool_.console.error(problem);
    recorder_.note(options_.port + ": training is over; " + std::to_string(recorder_.waiting()) +
                   " records wait for their reader (an interrupt drops them)");
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
      recorder_.beginGap();
      if (loss->atEnd || options_.retry <= 0) return problem;
      const auto obstacle = comeBack(problem, end);
      if (!obstacle || interrupted()) recorder_.endGap();
      if (obstacle) return interrupted() ? std::string() : problem + "; " + *obstacle;
    }
    if (recorder_.waiting() < mostWaiting) return {};
    return options_.port + ": training: ended: " + std::to_string(mostWaiting) + " records wait for their reader";
  }

  // Tries until it trains again, or until `end`. The result is why it could not.
  std::optional<std::string> comeBack(const std::string& problem, std::optional<Clock::time_point> end) {
    recorder_.warn(problem + "; trying again for " + secondsText(options_.retry));
    const auto begun = Clock::now();
    auto until = after(begun, options_.retry);
    if (end) until = std::min(until, *end);
    const link::Cancellation::Scope cancelled(interruption());
    for (;;) {
      connection_.reset();
      std::string obstacle;
      try {
        connect();
        startTraining(*connection_);
        recorder_.note(options_.port + ": training goes on");
        return std::nullopt;
      } catch (const Failure& failure) {
        connection_.reset();
        obstacle = failure.what();
      }
      const auto now = Clock::now();
      if (now >= until || interrupted()) {
        const auto tried = std::chrono::round<std::chrono::duration<long long, std::deci>>(now - begun);
        return "not back within " + secondsText(static_cast<double>(tried.count()) / 10) + ": " + obstacle;
      }
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
