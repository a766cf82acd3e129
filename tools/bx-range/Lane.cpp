#include "Lane.h"

#include <chrono>
#include <filesystem>
#include <random>
#include <utility>

#include "bx/BXSerialLink.h"
#include "morva/KeyedAccess.h"
#include "platform/OutputFile.h"
#include "tools/bx/Interrupt.h"

namespace BX::range {

namespace {

using tool::Json;

// Of the records that a device has sent; a hundred lanes shall not wake the machine all the time.
constexpr std::chrono::milliseconds takeInterval{20};
constexpr int retrySeconds = 1;      // for a device
constexpr int diskRetrySeconds = 5;  // for a session file

namespace state {
constexpr auto free = "free";          // no device answers
constexpr auto ready = "ready";        // it does not train
constexpr auto training = "training";  // into a session
constexpr auto lost = "lost";          // the device went away while it trained
}  // namespace state

SessionNumber randomNumber() {
  std::random_device random;
  return std::uniform_int_distribution<SessionNumber>(1, highestSessionNumber)(random);
}

// As JSON has it.
std::string quoted(const std::string& text) {
  Json holder;
  MORVA::setText(holder, "t", text);
  const std::string whole = tool::validUtf8(holder.toString());
  const auto colon = whole.find(':');
  return whole.substr(colon + 1, whole.size() - colon - 2);
}

}  // namespace

struct Lane::Session {
  Session(SessionNumber sessionNumber, std::string fileName, const std::string& path, Json head)
      : number(sessionNumber),
        name(std::move(fileName)),
        file(path, false),
        header(std::move(head)),
        score(sessionNumber, header) {}

  const SessionNumber number;
  const std::string name;
  platform::OutputFile file;
  const Json header;
  LiveScore score;
  std::size_t lines = 0;
  std::chrono::steady_clock::time_point start;
  std::string failure;  // of the disk
};

Lane::Lane(tool::Tool& tool, const Spool& spool, LaneConfig config)
    : tool_(tool),
      spool_(spool),
      config_(std::move(config)),
      device_(tool, config_.port, tool::loadConfiguration(tool, config_.files), config_.targetNumber),
      awayState_(state::free) {}

Lane::~Lane() {
  isEnding_ = true;
  if (thread_.joinable()) thread_.join();
}

void Lane::start() {
  isOver_ = false;
  thread_ = std::thread([this] { run(); });
}

bool Lane::beginNext() {
  if (!isTraining_) return false;
  wantsNext_ = true;
  return true;
}

Lane::News Lane::takeNews() {
  const platform::MutexLock lock(mutex_);
  return std::exchange(news_, {});
}

Lane::Sums Lane::sums() const {
  const platform::MutexLock lock(mutex_);
  return sums_;
}

// ---- On the lane's thread

void Lane::run() {
  setStatus(state::free, 0);
  while (!isEnding()) {
    if (connect()) {
      trainSessions();
    } else {
      pause(retrySeconds);
    }
    device_.disconnect();
  }
  setStatus(state::free, 0);
  isOver_ = true;
}

bool Lane::isEnding() const { return isEnding_ || tool::interrupted(); }

void Lane::pause(int seconds) const {
  const link::Cancellation::Scope cancelled(tool::interruption());
  for (int i = 0; i < seconds && !isEnding(); ++i) link::wait(std::chrono::seconds(1));
}

bool Lane::connect() try {
  device_.connect();
  const auto advice = device_.targetAdvice({"\"target\": FILE", "\"targetNumber\": "});
  if (!advice.empty()) tellTrouble(config_.port + ": " + advice);
  setStatus(state::ready, 0);
  return true;
} catch (const tool::Failure& failure) {
  if (isEnding()) return false;
  tellTrouble(failure.what());
  setStatus(awayState_, 0, failure.what());
  return false;
}

// Until the device is lost, or the lane ends.
void Lane::trainSessions() {
  while (!isEnding()) {
    try {
      if (!trainSession()) return;
    } catch (const platform::OutputError& error) {
      awaitDisk(error.reason());
    } catch (const tool::Failure& failure) {
      if (isEnding()) return;
      tellTrouble(failure.what());
      awayState_ = state::free;
      setStatus(awayState_, 0, failure.what());
      return pause(retrySeconds);
    }
  }
}

// Without the file's name, which is another one at each try.
void Lane::awaitDisk(const std::string& reason) {
  const std::string text = spool_.folder() + ": write a session file: " + reason;
  if (std::exchange(diskTrouble_, text) != text) tool_.console.error("lane " + config_.name + ": " + text);
  setStatus(state::ready, 0, text);
  pause(diskRetrySeconds);
}

// False when the device is lost.
bool Lane::trainSession() {
  const auto session = beginSession();
  wantsNext_ = false;
  isTraining_ = true;
  setStatus(state::training, session->number);
  trouble_.clear();
  const auto loss = tool::followTraining(
      device_.connection(),
      [&](std::vector<Json> records) {
        take(*session, std::move(records));
        return session->failure.empty();
      },
      [this] { return !isEnding_ && !wantsNext_; }, takeInterval);
  isTraining_ = false;
  tell(*session, true);
  if (!session->failure.empty()) awaitDisk(session->failure);
  if (!loss) return true;
  const std::string problem =
      config_.port + (loss->atEnd ? ": stop training: " : ": training: ") + tool::explain(loss->failure);
  tellTrouble(problem);
  awayState_ = state::lost;
  setStatus(awayState_, 0, problem);
  return false;
}

// With its header written, and the device training. Throws Failure or platform::OutputError, and leaves no file then.
std::unique_ptr<Lane::Session> Lane::beginSession() {
  Json header = device_.header();
  const SessionNumber number = randomNumber();
  if (const auto& target = device_.target()) {
    MORVA::setDocument(header, "target", *target);
  } else {
    auto& root = header.getDocument();
    root.AddMember("target", rapidjson::Value(rapidjson::kNullType), root.GetAllocator());
  }
  auto& root = header.getDocument();
  root.AddMember("sessionNumber", rapidjson::Value(number), root.GetAllocator());
  const std::string name = sessionFileName(config_.name, MORVA::getText(header, "start"), number);
  auto session = std::make_unique<Session>(number, name, spool_.pathOf(name), std::move(header));
  try {
    session->file.begin();
    session->file.add(tool::validUtf8(session->header.toString()));
    session->lines = 1;
    device_.start();
  } catch (...) {
    std::error_code ignored;
    std::filesystem::remove(spool_.pathOf(name), ignored);
    throw;
  }
  session->start = std::chrono::steady_clock::now();
  {
    const platform::MutexLock lock(mutex_);
    ++sums_.sessions;
  }
  tell(*session, false);
  retain(what::score, session->score.text());
  return session;
}

void Lane::take(Session& session, std::vector<Json> records) {
  const auto now = std::chrono::steady_clock::now();
  const auto received = std::chrono::duration_cast<tool::Milliseconds>(now - session.start);
  std::string text;
  std::size_t shots = 0;
  for (auto& record : records) {
    tool::setReceived(record, received);
    if (!text.empty()) text += '\n';
    text += tool::validUtf8(record.toString());
    if (!tool::isShot(record)) continue;
    ++shots;
    session.score.add(record, tool::timeNow());
  }
  try {
    session.file.add(text);
  } catch (const platform::OutputError& error) {
    session.failure = error.reason();
    return;
  }
  diskTrouble_.clear();
  session.lines += records.size();
  const platform::MutexLock lock(mutex_);
  news_.sessions.push_back({session.number, session.name, session.lines, false});
  sums_.records += records.size();
  sums_.shots += shots;
  if (shots > 0) news_.retained[what::score] = session.score.text();
}

// ---- What the network's thread gets

void Lane::tell(const Session& session, bool isEnded) {
  const auto member = [&](const char* key) { return MORVA::getDocument(session.header, key).toString(); };
  const bool hasTarget = session.header.getDocument()["target"].IsObject();
  const std::string text = "{\"session\":" + std::to_string(session.number) +
                           ",\"start\":" + quoted(MORVA::getText(session.header, "start")) +
                           ",\"device\":" + member("device") + ",\"settings\":" + member("session") +
                           ",\"target\":" + (hasTarget ? member("target") : "null") +
                           (isEnded ? ",\"lines\":" + std::to_string(session.lines) : "") + '}';
  retain(what::session, tool::validUtf8(text));
  const platform::MutexLock lock(mutex_);
  news_.sessions.push_back({session.number, session.name, session.lines, isEnded});
}

void Lane::setStatus(const char* state, SessionNumber session, const std::string& reason) {
  const std::string begun = std::string(R"({"state":")") + state + R"(","since":")";
  const std::string end = R"(","session":)" + (session == 0 ? "null" : std::to_string(session)) +
                          (reason.empty() ? "" : ",\"reason\":" + quoted(reason)) + '}';
  // The same again is no news.
  if (std::exchange(status_, begun + end) != begun + end) retain(what::status, begun + tool::timeNow() + end);
}

void Lane::retain(const char* what, const std::string& text) {
  const platform::MutexLock lock(mutex_);
  news_.retained[what] = text;
}

// The same trouble is told once.
void Lane::tellTrouble(const std::string& text) {
  if (std::exchange(trouble_, text) != text) tool_.console.warning("lane " + config_.name + ": " + text);
}

}  // namespace BX::range
