// The whole road against a simulated device of the tool's own.
#include "Connection.h"
#include "DemoScreen.h"
#include "Documents.h"
#include "Interrupt.h"
#include "Records.h"
#include "Session.h"
#include "Training.h"
#include "morva/KeyedAccess.h"
#include "simulator/Simulator.h"

namespace BX::tool {

namespace {

// The face of the 25 m precision pistol event, in millimetres.
constexpr const char* targetText = R"({"TargetType": "RING", "RingTargetNumber": 1, "TargetName": "25m pistol",
  "NominalShootingDistanceUnit": "Meters", "NominalDistance": 25, "CaliberUnit": "Millimeters", "Caliber": 5.6,
  "RingGapUnitType": "Millimeters", "RingsGapsUnit": "Fixed", "HighestRing": 10, "MinimumRing": 1, "HIBMinScore": 5,
  "TargetWidth": 250, "TargetHeight": 250, "PrismPlaceX": 0, "PrismPlaceY": 0, "NumberOfPrisms": 1,
  "DiameterInnerWhite": 0, "DiameterBlackArea": 200, "HitRingGap": 25, "DiameterX": 25, "DiameterHighestRing": 50,
  "DiameterVariableHminus1": 0, "DiameterVariableHminus2": 0, "DiameterVariableHminus3": 0,
  "DiameterVariableHminus4": 0, "DiameterVariableHminus5": 0, "DiameterVariableHminus6": 0,
  "DiameterVariableHminus7": 0, "DiameterVariableHminus8": 0, "DiameterVariableHminus9": 0,
  "DiameterVariableHminus10": 0, "DiameterVariableHminus11": 0})";

constexpr const char* deviceText = R"({"Mounting": "BELOW", "ArrowButtonsEnabled": true, "UseZeroing": false,
  "RegisterAllTriggers": false, "TargetReceiverHitIndicationBeam": true, "SleepWakeUp": true, "GraphicDisplay": true,
  "HitSoundBuzzer": false})";

constexpr const char* sessionText = R"({"isInFieldMode": true, "NumberOfBullets": 10, "WakeupAngle": 5,
  "ShotRejectionAngle": 20, "SleepTimeout": 10, "TriggerSensitivity": 3, "CockingDelay": 0.5})";

class Demo {
 public:
  Demo(Tool& tool, std::size_t wanted) : tool_(tool), wanted_(wanted) {}

  void run() {
    auto line = std::make_unique<sim::PtyLine>();
    const std::string port = line->name();
    const sim::Simulator simulator(sim::Options{}, std::move(line));
    say("A simulated target device waits on " + port + ".");
    Connection connection(tool_, port);
    showDevice(connection);
    configureDevice(connection);
    trainAndShow(connection);
    compareWithStored(connection);
    connection.begin();
    connection.manager().clearTrainingData(port);
    if (connection.failed()) connection.fail("clear");
    say("Cleared:     the device holds no stored results any more.");
    say("");
    say("Done: " + std::to_string(shots_.size()) + " shots, connected, configured, trained, downloaded and cleared.");
    say("With a device of your own: bx ports, then bx train PORT. The README goes on from here.");
  }

 private:
  void say(const std::string& text) { tool_.console.data(text); }

  void showDevice(const Connection& connection) {
    const auto& settings = connection.settings();
    say("Connected:   serial number " + MORVA::getText(settings, "SerialNumber") + ", device " +
        MORVA::getText(settings, "DeviceID") + ", program " + MORVA::getText(settings, "Program"));
  }

  void configureDevice(Connection& connection) {
    Configuration configuration{.device = parseDocument(deviceText, "demo"),
                                .session = parseDocument(sessionText, "demo"),
                                .target = TargetFile{.type = "RING", .document = parseDocument(targetText, "demo")}};
    configure(tool_, connection, configuration);
    say("Configured:  ring target \"25m pistol\", 25 m, field mode, mounted below, hit indication beam on");
    say("Training:    " + std::to_string(wanted_) + " shots, as they come");
    say("");
    say(shotHeading());
  }

  void trainAndShow(Connection& connection) {
    catchInterrupts();
    train(connection, {}, [this](const Json& record) {
      streamed_.push_back(record);
      if (isShot(record)) {
        shots_.push_back(record);
        say(shotLine(record));
      }
      return shots_.size() < wanted_;
    });
    say("");
    for (const auto& row : drawHits(shots_)) say("        " + row);
    say("");
    say("Streamed:    " + std::to_string(streamed_.size()) + " records, " + std::to_string(shots_.size()) +
        " of them shots");
  }

  void compareWithStored(Connection& connection) {
    auto stored = downloadSession(tool_, connection);
    const std::size_t count = stored.size();
    // The device goes on until it is told to stop: what came after the last shot is stored only.
    if (count > streamed_.size()) stored.resize(streamed_.size());
    if (!areSameRecords(streamed_, stored)) {
      throw Failure(deviceFailed, connection.port() + ": compare: the stored records are not those that were streamed");
    }
    say("Downloaded:  " + std::to_string(count) + " stored records; all that were streamed are among them, unchanged");
  }

  Tool& tool_;
  std::size_t wanted_;
  std::vector<Json> streamed_;
  std::vector<Json> shots_;
};

}  // namespace

void runDemo(Tool& tool, std::size_t shots) { Demo(tool, shots).run(); }

}  // namespace BX::tool
