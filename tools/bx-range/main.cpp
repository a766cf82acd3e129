// bx-range: gate, archive and board of a whole range of target devices.
#include <exception>

#include "CommandLine.h"
#include "platform/Descriptors.h"
#include "tools/arguments/Arguments.h"

int main(int argc, char** argv) {
  BX::platform::prepareStandardDescriptors();
  BX::range::Tool tool{.console = BX::tool::Console("bx-range"), .global = {}};
  try {
    const auto command = BX::range::CommandLine(tool).parse(argc, argv);
    if (tool.global.quiet) tool.console.beQuiet();
    command();
    return BX::tool::done;
  } catch (const BX::tool::Failure& failure) {
    tool.console.error(failure.what());
    return failure.status();
  } catch (const BX::arguments::WrongUsage& usage) {
    tool.console.error(usage.what());
    return BX::tool::wrongUsage;
  } catch (const std::exception& exception) {
    tool.console.error(std::string("unexpected: ") + exception.what());
    return BX::tool::deviceFailed;
  }
}
