// bx-sim: simulated devices, each on a pseudo-terminal, until SIGINT or SIGTERM.
#include <utility>  // before Asio, which needs it

#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>

#include <atomic>
#include <csignal>
#include <iostream>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/Descriptors.h"
#include "platform/OutputFile.h"
#include "platform/Utf8.h"
#include "simulator/Lane.h"
#include "simulator/Simulator.h"
#include "tools/arguments/Arguments.h"

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
  using BX::arguments::addOption;
  using BX::arguments::decimalNumber;
  using BX::arguments::name;
  using BX::arguments::wholeNumber;
  addOption(app, "--lanes N", arguments.lanes,
            "So many devices, each on a terminal of its own, with seeds that count up (default: 1)")
      .transform(wholeNumber(1, 1000));
  addOption(app, "--link PATH", arguments.files.link,
            "Also publish the terminal under this name, as a symbolic link; %d is the lane's number, from 0")
      .transform(name());
  addOption(app, "--stream FILE", arguments.stream,
            "Payloads to stream in training, one line of hex digits each, then silence (default: a shooter)")
      .transform(name());
  addOption(app, "--stored FILE", arguments.stored, "Stored records, a line each: BLOCK PAGE HEX").transform(name());
  addOption(app, "--transcript FILE", arguments.files.transcript,
            "Write every payload when it is delivered: '> HEX' from the host, '< HEX' to the host; %d as above")
      .transform(name());
  app.add_flag("--overwrite", arguments.files.overwrite, "Let --transcript replace a file that is not empty");
  addOption(app, "--seed N", arguments.options.seed, "The built-in shooter's (default: 1); same seed, same bytes")
      .transform(wholeNumber(0, std::numeric_limits<decltype(arguments.options.seed)>::max()));
  addOption(app, "--rate HZ", arguments.options.rate, "Payloads a second in training (default: 50)")
      .transform(decimalNumber(0.001, 1'000'000));
  addOption(app, "--baud N", arguments.options.baud, "Pace bytes as such a line would (default: no pacing)")
      .transform(wholeNumber(1, 1'000'000'000));
  addOption(app, "--latency MS", arguments.latency,
            "What the device sends reaches the host this many ms later (default: 0)")
      .transform(wholeNumber(0, 3'600'000));
  addOption(app, "--fault RULE", arguments.faults,
            "What goes wrong, DIRECTION:KIND:N:WHAT, once, at the Nth frame or payload of that kind; repeatable. "
            "DIRECTION is to-host or to-device. KIND is " +
                frameKindNames() + ". WHAT is " + faultEffectNames() + ". docs/link.md tells them")
      .allow_extra_args(false);
  addOption(app, "--script FILE", arguments.script,
            "Replies to give instead, a line each: REQUEST-HEX-PREFIX = REPLY-HEX")
      .transform(name());
  BX::arguments::addHelpFlag(app, BX_VERSION);
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

int fail(const std::string& reason, int status) {
  std::cerr << "bx-sim: " + BX::platform::printable(reason) + '\n';
  return status;
}

// Until a signal comes, or every line has hung up.
void serve(const Arguments& arguments) {
  boost::asio::io_context context;
  boost::asio::signal_set signals(context, SIGINT, SIGTERM);
  signals.async_wait([](const boost::system::error_code&, int) {});

  std::atomic<unsigned> standing = arguments.lanes;
  Options options = arguments.options;
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

// Gives the exit status.
int run(Arguments& arguments) {
  std::signal(SIGPIPE, SIG_IGN);  // a transcript that nobody reads any more, or beyond a limit, is a failed write
  std::signal(SIGXFSZ, SIG_IGN);
  std::atomic<int> status = 0;
  arguments.files.transcriptFailed = [&](const std::string& reason) { status = fail(reason, statusFailed); };
  try {
    serve(arguments);
  } catch (const BX::platform::OutputError& error) {
    return fail(error.what(), statusBadInput);
  } catch (const std::exception& error) {
    return fail(error.what(), statusFailed);
  }
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  BX::platform::prepareStandardDescriptors();
  Arguments arguments;
  CLI::App app("A simulated target device on a pseudo-terminal, whose name is printed; or several of them", "bx-sim");
  BX::arguments::prepare(app);
  describe(app, arguments);
  try {
    BX::arguments::parse(app, argc, argv);
  } catch (const CLI::CallForHelp&) {
    std::cout << BX::arguments::helpOf(app) << '\n';
    return 0;
  } catch (const CLI::CallForVersion& version) {
    std::cout << version.what() << '\n';
    return 0;
  } catch (const std::exception& usage) {
    return fail(usage.what(), statusBadInput);
  }
  try {
    checkLanes(arguments);
    readFiles(arguments);
  } catch (const std::exception& error) {
    return fail(error.what(), statusBadInput);
  }
  return run(arguments);
}
