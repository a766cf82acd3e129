#include "Connection.h"
#include "Documents.h"
#include "Interrupt.h"
#include "Records.h"
#include "Training.h"
#include "morva/KeyedAccess.h"

namespace BX::tool {

namespace {

struct Arguments {
  std::string port;
  ConfigurationFiles files;
  std::size_t shots = 0;
  double seconds = 0;
  std::string output;
};

Json sessionHeader(const Connection& connection, const Configuration& configuration) {
  Json header;
  MORVA::setText(header, "start", timeNow());
  MORVA::setText(header, "port", connection.port());
  MORVA::setDocument(header, "device", connection.settings());
  MORVA::setDocument(header, "session", configuration.session.value_or(Json()));
  MORVA::setDocument(header, "target", configuration.target ? configuration.target->document : Json());
  return header;
}

void run(Tool& tool, const Arguments& arguments) {
  Configuration configuration = loadConfiguration(tool, arguments.files);
  Records records(tool.console, arguments.output);
  catchInterrupts();
  Connection connection(tool, arguments.port);
  configure(tool, connection, configuration);
  if (interrupted()) return;
  records.begin(sessionHeader(connection, configuration));
  TrainingLimits limits{.shots = arguments.shots};
  if (arguments.seconds > 0) limits.time = std::chrono::duration<double>(arguments.seconds);
  train(connection, limits, [&](const Json& record) { return records.add(record); });
  tool.console.note(records.summary());
}

}  // namespace

void addTrain(CLI::App& app, Tool& tool) {
  auto* command = app.add_subcommand("train", "Train and print each record as a JSON line; Ctrl-C ends it");
  auto arguments = std::make_shared<Arguments>();
  command->add_option("PORT", arguments->port, "Serial port, such as /dev/ttyUSB0")->required();
  addConfigurationOptions(*command, arguments->files);
  command->add_option("--shots", arguments->shots, "End after this many shots")->check(CLI::PositiveNumber);
  command->add_option("--seconds", arguments->seconds, "End after this time")->check(CLI::PositiveNumber);
  command->add_option("--output", arguments->output, "Write a session file and print no records");
  command->callback([&tool, arguments] { tool.run = [&tool, arguments] { run(tool, *arguments); }; });
}

}  // namespace BX::tool
