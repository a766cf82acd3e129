// bx-sim: simulated devices, each on a pseudo-terminal, until SIGINT or SIGTERM.
#include <utility>  // before Asio, which needs it

#include <CLI/CLI.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>

#include <atomic>
#include <cmath>
#include <csignal>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/Utf8.h"
#include "simulator/Lane.h"
#include "simulator/Simulator.h"

namespace {

using namespace BX::sim;

constexpr int statusFailed = 1;
constexpr int statusBadInput = 2;

struct Arguments {
  unsigned lanes = 1;
  Lane::Files files;
  std::string stream;
  std::string stored;
  std::string script;
  std::vector<std::string> faults;
  Options options;
  unsigned latency = 0;  // ms
};

void describe(CLI::App& app, Arguments& arguments) {
  const CLI::Validator aboveZero(
      [](const std::string& text) {
        double value = 0;
        const bool good = CLI::detail::lexical_cast(text, value) && std::isfinite(value) && value > 0;
        return good ? std::string() : "not a number above 0: " + text;
      },
      "ABOVE 0");
  app.add_option("--lanes", arguments.lanes, "So many devices, each on a terminal of its own, with seeds that count up")
      ->check(CLI::Range(1U, 1000U))
      ->capture_default_str();
  app.add_option("--link", arguments.files.link,
                 "Also publish the terminal under this name, as a symbolic link; %d is the lane's number, from 0");
  app.add_option("--stream", arguments.stream,
                 "Payloads to stream in training, one line of hex digits each, then silence (default: a shooter)");
  app.add_option("--stored", arguments.stored, "Stored records, a line each: BLOCK PAGE HEX");
  app.add_option("--transcript", arguments.files.transcript,
                 "Write every payload when it is delivered: '> HEX' from the host, '< HEX' to the host; %d as above");
  app.add_option("--seed", arguments.options.seed, "The built-in shooter's; same seed, same bytes")
      ->capture_default_str();
  app.add_option("--rate", arguments.options.rate, "Payloads a second in training")
      ->check(aboveZero)
      ->capture_default_str();
  app.add_option("--baud", arguments.options.baud, "Pace bytes as such a line would (default: no pacing)")
      ->check(aboveZero);
  app.add_option("--latency", arguments.latency, "What the device sends reaches the host this many ms later")
      ->check(CLI::Range(0U, 3'600'000U));
  app.add_option("--fault", arguments.faults,
                 "What goes wrong, DIRECTION:KIND:N:WHAT, once, at the Nth frame or payload of that kind; repeatable. "
                 "DIRECTION is to-host or to-device. KIND is " +
                     frameKindNames() + ". WHAT is " + faultEffectNames() + ". docs/link.md tells them")
      ->allow_extra_args(false);
  app.add_option("--script", arguments.script, "Replies to give instead, a line each: REQUEST-HEX-PREFIX = REPLY-HEX");
}

void readFiles(Arguments& arguments) {
  Options& options = arguments.options;
  if (!arguments.stream.empty()) options.stream = readStreamFile(arguments.stream);
  if (!arguments.stored.empty()) options.stored = readStoredFile(arguments.stored);
  if (!arguments.script.empty()) options.script = readScriptFile(arguments.script);
  for (const std::string& rule : arguments.faults) options.faults.push_back(parseFaultRule(rule));
}

// Several lanes need names of their own.
void checkLanes(const Arguments& arguments) {
  for (const std::string& pattern : {arguments.files.link, arguments.files.transcript}) {
    if (arguments.lanes > 1 && !pattern.empty() && !tellsLanesApart(pattern)) {
      throw std::runtime_error(pattern + ": needs %d in the place of the lane's number");
    }
  }
}

void run(Arguments& arguments) {
  boost::asio::io_context context;
  boost::asio::signal_set signals(context, SIGINT, SIGTERM);
  signals.async_wait([](const boost::system::error_code&, int) {});

  std::atomic<unsigned> standing = arguments.lanes;
  Options& options = arguments.options;
  options.latency = std::chrono::milliseconds(arguments.latency);
  options.keepTranscript = false;
  options.hungUp = [&] {
    if (--standing == 0) context.stop();
  };
  std::vector<std::unique_ptr<Lane>> lanes;
  for (unsigned number = 0; number < arguments.lanes; ++number) {
    lanes.push_back(std::make_unique<Lane>(number, options, arguments.files));
    std::cout << lanes.back()->name() << std::endl;
  }
  context.run();
}

int fail(const std::exception& error, int status) {
  std::cerr << "bx-sim: " << BX::platform::printable(error.what()) << '\n';
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  Arguments arguments;
  CLI::App app("A simulated target device on a pseudo-terminal, whose name is printed; or several of them.", "bx-sim");
  app.set_version_flag("--version", "bx-sim " BX_VERSION);
  describe(app, arguments);
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& help) {
    return app.exit(help);
  } catch (const CLI::Error& error) {
    return fail(error, statusBadInput);
  }
  try {
    checkLanes(arguments);
    readFiles(arguments);
  } catch (const std::exception& error) {
    return fail(error, statusBadInput);
  }
  try {
    run(arguments);
  } catch (const std::exception& error) {
    return fail(error, statusFailed);
  }
  return 0;
}
