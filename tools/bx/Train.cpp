#include "Connection.h"
#include "Documents.h"
#include "Interrupt.h"
#include "Records.h"
#include "Training.h"
#include "morva/KeyedAccess.h"

namespace BX::tool {

namespace {

Json sessionHeader(const Connection& connection, const Configuration& configuration) {
  Json header;
  MORVA::setText(header, "start", timeNow());
  MORVA::setText(header, "port", connection.port());
  MORVA::setDocument(header, "device", connection.settings());
  MORVA::setDocument(header, "session", configuration.session.value_or(Json()));
  MORVA::setDocument(header, "target", configuration.target ? configuration.target->document : Json());
  return header;
}

}  // namespace

void runTrain(Tool& tool, const TrainOptions& options) {
  Configuration configuration = loadConfiguration(tool, options.files);
  Records records(tool.console, options.output);
  catchInterrupts();
  Connection connection(tool, options.port);
  configure(tool, connection, configuration);
  if (interrupted()) return;
  records.begin(sessionHeader(connection, configuration));
  TrainingLimits limits{.shots = options.shots};
  if (options.seconds > 0) limits.time = std::chrono::duration<double>(options.seconds);
  train(connection, limits, [&](const Json& record) { return records.add(record); });
  tool.console.note(records.summary());
}

}  // namespace BX::tool
