#include "Connection.h"
#include "bx/DocumentKeys.h"
#include "morva/KeyedAccess.h"

namespace BX::tool {

namespace {

void add(Json& report, const char* key, rapidjson::Value value) {
  auto& root = report.getDocument();
  root.AddMember(rapidjson::StringRef(key), value, root.GetAllocator());
}

void addInformation(Json& report, const char* key, Connection& connection, const std::string& item) {
  std::string text;
  connection.begin();
  const bool isReported = connection.device().requestInformation(item, text);
  if (connection.failed()) connection.fail(std::string("read ") + key);
  add(report, key, isReported ? report.copyStringToValue(text) : rapidjson::Value());
}

void addTargetNumber(Json& report, const char* key, std::int32_t number) {
  add(report, key, number == noTarget ? rapidjson::Value() : rapidjson::Value(number));
}

Json everythingOf(Connection& connection) {
  const BXDevice& device = connection.device();
  Json report;
  MORVA::setDocument(report, "settings", connection.settings());
  MORVA::setDocument(report, "session", device.reportedSessionSettings());
  addInformation(report, "usageInformation", connection, BXSerialCom::DEVICE_INFO_USAGE_INFORMATION);
  addInformation(report, "errorCounters", connection, BXSerialCom::DEVICE_INFO_ERROR_COUNTERS);
  addTargetNumber(report, "ringTargetInUse", device.reportedTargets().ring);
  addTargetNumber(report, "silhouetteTargetInUse", device.reportedTargets().silhouette);
  return report;
}

}  // namespace

void runInfo(Tool& tool, const InfoOptions& options) {
  Connection connection(tool, options.port);
  tool.console.data((options.all ? everythingOf(connection) : connection.settings()).toString());
}

}  // namespace BX::tool
