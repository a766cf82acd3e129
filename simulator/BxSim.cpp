// bx-sim: the simulated device on a pseudo-terminal, until SIGINT or SIGTERM.
#include <utility>  // before Asio, which needs it

#include <CLI/CLI.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>

#include <cmath>
#include <csignal>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "simulator/PublishedLink.h"
#include "simulator/Simulator.h"

namespace {

using namespace BX::sim;

constexpr int statusFailed = 1;
constexpr int statusBadInput = 2;

struct Arguments {
  std::string link;
  std::string stream;
  std::string stored;
  std::string transcript;
  std::string script;
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
  app.add_option("--link", arguments.link, "Also publish the terminal under this name, as a symbolic link");
  app.add_option("--stream", arguments.stream,
                 "Payloads to stream in training, one line of hex digits each, then silence (default: a shooter)");
  app.add_option("--stored", arguments.stored, "Stored records, a line each: BLOCK PAGE HEX");
  app.add_option("--transcript", arguments.transcript,
                 "Write every payload when it is delivered: '> HEX' from the host, '< HEX' to the host");
  app.add_option("--seed", arguments.options.seed, "The built-in shooter's; same seed, same bytes")
      ->capture_default_str();
  app.add_option("--rate", arguments.options.rate, "Payloads a second in training")
      ->check(aboveZero)
      ->capture_default_str();
  app.add_option("--baud", arguments.options.baud, "Pace bytes as such a line would (default: no pacing)")
      ->check(aboveZero);
  app.add_option("--latency", arguments.latency, "What the device sends reaches the host this many ms later")
      ->check(CLI::Range(0U, 3'600'000U));
  app.add_option("--script", arguments.script, "Replies to give instead, a line each: REQUEST-HEX-PREFIX = REPLY-HEX");
}

void readFiles(Arguments& arguments) {
  Options& options = arguments.options;
  if (!arguments.stream.empty()) options.stream = readStreamFile(arguments.stream);
  if (!arguments.stored.empty()) options.stored = readStoredFile(arguments.stored);
  if (!arguments.script.empty()) options.script = readScriptFile(arguments.script);
}

void openTranscript(Arguments& arguments) {
  if (arguments.transcript.empty()) return;
  const auto file = std::make_shared<std::ofstream>(arguments.transcript);
  if (!*file) throw std::runtime_error(arguments.transcript + ": cannot be written");
  arguments.options.transcript = [file](const std::string& line) { *file << line << '\n' << std::flush; };
}

void run(Arguments& arguments) {
  boost::asio::io_context context;
  boost::asio::signal_set signals(context, SIGINT, SIGTERM);
  signals.async_wait([](const boost::system::error_code&, int) {});

  openTranscript(arguments);
  arguments.options.latency = std::chrono::milliseconds(arguments.latency);
  arguments.options.keepTranscript = false;
  auto line = std::make_unique<PtyLine>();
  const std::string name = line->name();
  const Simulator simulator(arguments.options, std::move(line));
  std::optional<PublishedLink> link;
  if (!arguments.link.empty()) link.emplace(arguments.link, name);
  std::cout << name << std::endl;
  context.run();
}

int fail(const std::exception& error, int status) {
  std::cerr << "bx-sim: " << error.what() << '\n';
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  Arguments arguments;
  CLI::App app("A simulated target device on a pseudo-terminal, whose name is printed.", "bx-sim");
  describe(app, arguments);
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& help) {
    return app.exit(help);
  } catch (const CLI::Error& error) {
    return fail(error, statusBadInput);
  }
  try {
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
