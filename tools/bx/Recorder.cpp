#include "Recorder.h"

#include <utility>

#include "bx/DocumentKeys.h"
#include "morva/KeyedAccess.h"

namespace BX::tool {

namespace {

// Of a target or a shot: 255 when it names none.
std::int32_t targetNumber(const Json& document, const char* key) {
  const auto& root = document.getDocument();
  return root.IsObject() && root.HasMember(key) ? MORVA::getInteger(document, key) : noTarget;
}

}  // namespace

Recorder::Recorder(Console& console, std::string port, const Output& output)
    : console_(console),
      port_(std::move(port)),
      records_(console, output),
      ringTarget_(noTarget),
      silhouetteTarget_(noTarget) {
  if (console.drawsProgress() && (!output.path.empty() || !console.isOutputTerminal())) table_.emplace(console);
}

void Recorder::begin(Json header, const std::optional<Json>& target) {
  auto& root = header.getDocument();
  if (target) {
    ringTarget_ = targetNumber(*target, key::ring::ringTargetNumber);
    silhouetteTarget_ = targetNumber(*target, key::silhouette::silhouetteTargetNumber);
    MORVA::setDocument(header, "target", *target);
  } else {
    root.AddMember("target", rapidjson::Value(rapidjson::kNullType), root.GetAllocator());
  }
  records_.begin(header);
  start_ = Clock::now();
  isBegun_ = true;
}

void Recorder::add(Json record) {
  latest_ = now();
  writer_.add([this, record = std::move(record), received = latest_] { return write(record, received); });
}

void Recorder::endGap() {
  writer_.add([this, from = latest_, to = now()] {
    records_.addGap(from, to);
    return true;
  });
}

// ---- On the writer's thread

bool Recorder::write(const Json& record, Milliseconds received) {
  if (!records_.add(record, received)) return false;
  if (table_) table_->show(record, received);
  if (isShot(record)) look(record);
  return true;
}

void Recorder::look(const Json& shot) {
  if (isWarned_) return;
  const std::int32_t ring = targetNumber(shot, key::ring::ringTargetNumber);
  const std::int32_t silhouette = targetNumber(shot, key::silhouette::silhouetteTargetNumber);
  const std::string begun =
      port_ + ": shot " + std::to_string(MORVA::getInteger(shot, key::record::shotNumber)) + " names ";
  isWarned_ = true;
  if (ring != noTarget && ring != ringTarget_) {
    const std::string number = std::to_string(ring);
    console_.warning(begun + "ring target " + number +
                     ", which was not given: positions and distances are wrong from the " +
                     "next shot on; end this, and begin with --target FILE or --target-number " + number);
  } else if (silhouette != noTarget && silhouette != silhouetteTarget_) {
    console_.warning(begun + "silhouette target " + std::to_string(silhouette) +
                     ", which was not given: the session does not tell it; --target FILE does");
  } else {
    isWarned_ = false;
  }
}

void Recorder::showTime() {
  if (table_ && isBegun_) table_->showStatus(now());
}

}  // namespace BX::tool
