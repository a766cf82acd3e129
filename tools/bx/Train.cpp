// Training, across losses of the line.
#include <algorithm>
#include <sstream>
#include <utility>

#include "InputFile.h"
#include "Interrupt.h"
#include "Recorder.h"
#include "Training.h"
#include "TrainingDevice.h"

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
        device_(tool, options.port, loadConfiguration(tool, options.files), options.targetNumber),
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
    device_.disconnect();  // the port is free while a slow reader takes the rest
    if (recorder_.waiting() >= manyWaiting) tellWaiting(problem);
    recorder_.finish();
    if (!problem.empty()) throw Failure(deviceFailed, problem + recorder_.kept());
    tool_.console.note(recorder_.summary());
  }

 private:
  void begin() {
    connect();
    const auto advice = device_.targetAdvice({"--target FILE", "--target-number "});
    if (!advice.empty()) recorder_.warn(options_.port + ": " + advice);
    recorder_.open();
    setLastWords([this] {
      return "bx: ended at once" + recorder_.kept() + "; " + std::to_string(recorder_.waiting()) + " more were waiting";
    });
    device_.start();
    Json header = device_.header();
    device_.keepSettings();
    recorder_.begin(std::move(header), device_.target());
  }

  void connect() {
    recorder_.showConnecting();
    device_.connect();
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
    const auto take = [&](std::vector<Json> records) {
      for (auto& record : records) {
        if (isShot(record)) ++shots;
        recorder_.add(std::move(record));
        if (options_.shots != 0 && shots >= options_.shots) return false;
      }
      return true;
    };
    const auto goesOn = [&] {
      const bool late = end && Clock::now() >= *end;
      return !late && !recorder_.isOver() && recorder_.waiting() < mostWaiting;
    };
    while (const auto loss = followTraining(device_.connection(), take, goesOn)) {
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
      device_.disconnect();
      std::string obstacle;
      try {
        connect();
        device_.start();
        recorder_.note(options_.port + ": training goes on");
        return std::nullopt;
      } catch (const Failure& failure) {
        device_.disconnect();
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
  TrainingDevice device_;
  Recorder recorder_;
};

}  // namespace

void runTrain(Tool& tool, const TrainOptions& options) { TrainSession(tool, options).run(); }

}  // namespace BX::tool
