// The whole road against a simulated device of the tool's own.
#include <chrono>
#include <filesystem>
#include <optional>
#include <random>

#include "Connection.h"
#include "DemoScreen.h"
#include "Documents.h"
#include "Examples.h"
#include "Interrupt.h"
#include "Records.h"
#include "Session.h"
#include "ShotTable.h"
#include "System.h"
#include "Training.h"
#include "bx/DocumentKeys.h"
#include "morva/KeyedAccess.h"
#include "platform/OutputFile.h"
#include "simulator/Simulator.h"
#include "viewer/Page.h"

namespace BX::tool {

namespace {

// A name that no file has, in the folder for files that nobody keeps.
std::string newReport() {
  const auto name = "bx-demo-" + std::to_string(std::random_device()()) + ".html";
  return platform::utf8Of(std::filesystem::temp_directory_path() / name);
}

class Demo {
 public:
  Demo(Tool& tool, std::size_t wanted) : tool_(tool), wanted_(wanted) {}

  void run() {
    auto [port, line] = system::makeSimulatedPort();
    const sim::Simulator simulator(sim::Options{}, std::move(line));
    say("A simulated target device waits on " + port + ".");
    Connection connection(tool_, port);
    showDevice(connection);
    configureDevice(connection);
    trainAndShow(connection);
    compareWithStored(connection);
    report();
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
    say("Connected:   serial number " + MORVA::getText(settings, key::settings::serialNumber) + ", device " +
        MORVA::getText(settings, key::settings::deviceId) + ", program " +
        MORVA::getText(settings, key::settings::program));
  }

  void configureDevice(Connection& connection) {
    Configuration configuration{
        .device = parseDocument(example::deviceSettings, "demo"),
        .session = parseDocument(example::sessionSettings, "demo"),
        .target = TargetFile{.type = text::ring, .document = parseDocument(example::ringTarget, "demo")}};
    configure(tool_, connection, configuration);
    const Json& target = configuration.target->document;
    Json header;
    MORVA::setText(header, "start", timeNow());
    MORVA::setDocument(header, "device", connection.settings());
    MORVA::setDocument(header, "session", *configuration.session);
    MORVA::setDocument(header, "target", target);
    session_.emplace(header.getDocument());
    say("Configured:  ring target \"" + MORVA::getText(target, key::target::targetName) + "\", " +
        std::to_string(MORVA::getInteger(target, key::target::nominalDistance)) + " m, mounted " +
        MORVA::getText(*configuration.device, key::settings::mounting));
    say("Training:    " + std::to_string(wanted_) + " shots, as they come");
    say("");
    say(shotHeading());
  }

  void trainAndShow(Connection& connection) {
    startTraining(connection);
    const auto start = std::chrono::steady_clock::now();
    const auto loss = followTraining(connection, [this, start](std::vector<Json> records) {
      for (auto& record : records) {
        if (shots_.size() >= wanted_) break;
        streamed_.push_back(record);
        const bool shot = isShot(record);
        if (shot) shots_.push_back(record);
        setReceived(record, std::chrono::duration_cast<Milliseconds>(std::chrono::steady_clock::now() - start));
        session_->add(record.getDocument());
        if (shot) say(shotLine(record, lastValue(*session_)));
      }
      return shots_.size() < wanted_;
    });
    if (loss || interrupted()) connection.fail("training");
    say("");
    for (const auto& row : drawHits(shots_)) say("        " + row);
    say("");
    say("Streamed:    " + std::to_string(streamed_.size()) + " records, " + std::to_string(shots_.size()) +
        " of them shots");
  }

  void report() try {
    platform::OutputFile file(newReport(), false);
    file.begin();
    file.add(viewer::pageOf(*session_, {}));
    say("Reported:    " + file.path() + " shows the shots in a browser");
  } catch (const platform::OutputError& error) {
    throw Failure(deviceFailed, error.what());
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
  std::optional<scoring::Session> session_;
  std::vector<Json> streamed_;
  std::vector<Json> shots_;
};

}  // namespace

void runDemo(Tool& tool, std::size_t shots) { Demo(tool, shots).run(); }

}  // namespace BX::tool
