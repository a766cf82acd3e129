#include "simulator/DeviceModel.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace BX::sim {

namespace {

constexpr std::uint16_t defaultDistance = 250;  // tenths of a metre

struct Item {
  std::uint8_t code;
  std::string_view text;  // at most fifteen characters; date and time begin with a label of six
};

constexpr std::array<Item, 7> items{{
    {wire::itemSerialNumber, "SIM-000001"},
    {wire::itemUsage, "12 h 345 shots"},
    {wire::itemId, "BX-SIM"},
    {wire::itemProgram, "V1.00"},
    {wire::itemDate, "DATE: 21.11.26"},
    {wire::itemTime, "TIME: 12:00:00"},
    {wire::itemErrorCounters, "0"},
}};

bool isStream(wire::Mode mode) { return mode == wire::Mode::ClassicStream || mode == wire::Mode::FieldStream; }

bool isMode(std::uint8_t value) {
  switch (static_cast<wire::Mode>(value)) {
    case wire::Mode::ClassicStream:
    case wire::Mode::Information:
    case wire::Mode::FieldStream:
    case wire::Mode::Resting:
    case wire::Mode::Transfer:
      return true;
  }
  return false;
}

bool allows(wire::Mode mode, std::uint8_t letter) {
  switch (letter) {
    case wire::information:
    case wire::readParameters:
      return !isStream(mode);
    case wire::writeParameters:
    case wire::storedPage:
    case wire::uploadRing:
    case wire::downloadRing:
    case wire::uploadSilhouette:
    case wire::downloadSilhouette:
      return mode == wire::Mode::Transfer;
    default:
      return true;
  }
}

bool isRecord(std::span<const std::uint8_t> payload) {
  return payload.size() >= 2 && payload[0] == wire::record &&
         (payload[1] == wire::shotRecord || payload[1] == wire::measurementRecord);
}

std::vector<Bytes> refusal(std::uint8_t letter) { return {{wire::refused, letter}}; }

std::vector<Bytes> acceptance(std::uint8_t letter) { return {{wire::accepted, letter}}; }

// Accepts with the content that follows the letter; without any, refuses.
std::vector<Bytes> reply(std::uint8_t letter, const std::optional<Bytes>& content) {
  if (!content) return refusal(letter);
  std::vector<Bytes> answer = acceptance(letter);
  answer.front().insert(answer.front().end(), content->begin(), content->end());
  return answer;
}

}  // namespace

DeviceModel::DeviceModel(const Options& options) : options_(options), stored_(options.stored) {}

void DeviceModel::rest() {
  mode_ = wire::Mode::Resting;
  shooter_.reset();
  silhouettes_.forgetContext();
}

std::vector<Bytes> DeviceModel::answer(Request request) {
  if (request.empty()) return {refusalOf(request)};
  const std::uint8_t letter = request.front();
  if (const ScriptedReply* script = scripted(request)) {
    if (script->reply.empty()) return refusal(letter);
    return {script->reply};
  }
  if (!understood(request) || !allows(mode_, letter)) return refusal(letter);
  return builtIn(request);
}

Bytes DeviceModel::refusalOf(Request request) {
  if (request.empty()) return {wire::refused};
  return {wire::refused, request.front()};
}

const ScriptedReply* DeviceModel::scripted(Request request) const {
  const ScriptedReply* best = nullptr;
  for (const ScriptedReply& entry : options_.script) {
    const Bytes& prefix = entry.request;
    const bool matches = prefix.size() <= request.size() && std::equal(prefix.begin(), prefix.end(), request.begin());
    if (matches && (best == nullptr || prefix.size() >= best->request.size())) best = &entry;
  }
  return best;
}

// Whether the sum is right, and the length is the one of a request of this letter where that is fixed.
bool DeviceModel::understood(Request request) const {
  if (request.size() < 2 || request.back() != wire::sumOf(request.first(request.size() - 1))) return false;
  switch (request.front()) {
    case wire::startup:
    case wire::poll:
      return request.size() == 2;
    case wire::setMode:
    case wire::information:
    case wire::readParameters:
      return request.size() == 3;
    case wire::storedPage:
      return request.size() == 4;
    default:
      return true;
  }
}

DeviceModel::Answer DeviceModel::builtIn(Request request) {
  const std::uint8_t letter = request.front();
  const auto verdict = [letter](bool good) { return good ? acceptance(letter) : refusal(letter); };
  switch (letter) {
    case wire::startup:
    case wire::poll:
      return acceptance(letter);
    case wire::setMode:
      return changeMode(request);
    case wire::information:
      return information(request);
    case wire::readParameters: {
      std::optional<Bytes> content = parameters_.content(request[1]);
      if (content) content->insert(content->begin(), request[1]);
      return reply(letter, content);
    }
    case wire::writeParameters:
      return verdict(parameters_.write(request));
    case wire::storedPage:
      return storedResults(request);
    case wire::uploadRing:
      return verdict(rings_.upload(request));
    case wire::downloadRing:
      return reply(letter, rings_.download(request));
    case wire::uploadSilhouette:
      return verdict(silhouettes_.upload(request));
    case wire::downloadSilhouette:
      return reply(letter, silhouettes_.download(request));
    default:
      return refusal(letter);
  }
}

DeviceModel::Answer DeviceModel::changeMode(Request request) {
  if (!isMode(request[1])) return refusal(wire::setMode);
  rest();
  mode_ = static_cast<wire::Mode>(request[1]);
  if (isStream(mode_)) startStream();
  return acceptance(wire::setMode);
}

DeviceModel::Answer DeviceModel::information(Request request) const {
  const std::uint8_t code = request[1];
  Bytes content{code};
  if (code == wire::itemStoredResults) {
    for (std::uint8_t block = 0; block < wire::storedBlocks; ++block) {
      content.push_back(block);
      content.push_back(stored_.pageCount(block));
    }
    return reply(wire::information, content);
  }
  const auto* item = std::find_if(items.begin(), items.end(), [code](const Item& one) { return one.code == code; });
  if (item == items.end()) return refusal(wire::information);
  content.insert(content.end(), item->text.begin(), item->text.end());
  return reply(wire::information, content);
}

DeviceModel::Answer DeviceModel::storedResults(Request request) {
  const std::uint8_t block = request[1];
  const std::uint8_t page = request[2];
  if (page == wire::clearPage) return stored_.clear(block) ? acceptance(wire::storedPage) : refusal(wire::storedPage);
  const std::vector<Bytes>* records = stored_.page(block, page);
  if (records == nullptr) return refusal(wire::storedPage);
  Answer payloads = *records;
  payloads.push_back(acceptance(wire::storedPage).front());
  return payloads;
}

void DeviceModel::startStream() {
  stored_.beginSession();
  filePosition_ = 0;
  if (options_.stream) return;
  const std::uint8_t ring = parameters_.ringTarget();
  const std::uint8_t silhouette = parameters_.silhouetteTarget();
  const auto distance = ring != wire::noTarget ? rings_.distance(ring) : silhouettes_.distance(silhouette);
  shooter_.emplace(options_.seed, Shooter::Setting{static_cast<std::uint8_t>(mode_), ring, silhouette,
                                                   distance.value_or(defaultDistance)});
}

bool DeviceModel::hasStreamed() const {
  if (!isStream(mode_)) return false;
  return shooter_ || filePosition_ < options_.stream->size();
}

Bytes DeviceModel::nextStreamed() {
  Bytes payload = shooter_ ? shooter_->next() : (*options_.stream)[filePosition_++];
  if (isRecord(payload)) stored_.add(payload);
  // This payload tells the host that the device has ended the stream by itself.
  if (payload == Bytes{wire::accepted}) rest();
  return payload;
}

}  // namespace BX::sim
