// bx: the command-line tool for target devices.
#include <boost/nowide/args.hpp>
#include <cerrno>
#include <exception>
#include <system_error>

#include "CommandLine.h"
#include "TraceWatch.h"
#include "bx/BXSerialLink.h"
#include "platform/Descriptors.h"
#include "platform/OutputFile.h"
#include "tools/arguments/Arguments.h"

namespace {

using namespace BX::tool;

void startTrace(const GlobalOptions& global) try {
  if (BX::link::setTraceFile(global.trace, global.overwrite)) return;
  const int code = errno;
  const BX::platform::OutputFile refused(global.trace, global.overwrite);  // throws the reason, if it still stands
  throw BX::platform::OutputError(global.trace, "open", code, std::generic_category().message(code));
} catch (const BX::platform::OutputError& failure) {
  throw Failure(wrongUsage, failure.what());
}

void applyGlobalOptions(Tool& tool) {
  const auto& global = tool.global;
  if (global.quiet) tool.console.beQuiet();
  if (global.verbose) tool.console.showLibrary();
  if (!global.trace.empty()) startTrace(global);
  if (global.baud == 0) return;
  auto options = BX::link::getOptions();
  options.baud = global.baud;
  BX::link::setOptions(options);
}

// Gives the exit status.
int run(Tool& tool, int argc, char** argv) {
  CommandLine commandLine(tool);
  const auto command = commandLine.parse(argc, argv);
  applyGlobalOptions(tool);
  TraceWatch trace(tool.console, tool.global.trace);
  command();
  return trace.isWhole() ? done : deviceFailed;
}

}  // namespace

int main(int argc, char** argv) {
  BX::platform::prepareStandardDescriptors();
  Tool tool;
  try {
    const boost::nowide::args inUtf8(argc, argv);
    return run(tool, argc, argv);
  } catch (const Failure& failure) {
    tool.console.error(failure.what());
    return failure.status();
  } catch (const BX::arguments::WrongUsage& usage) {
    tool.console.error(usage.what());
    return wrongUsage;
  } catch (const std::exception& exception) {
    tool.console.error(std::string("unexpected: ") + exception.what());
    return deviceFailed;
  }
}
