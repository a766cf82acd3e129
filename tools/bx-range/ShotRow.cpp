#include "ShotRow.h"

#include "bx/DocumentKeys.h"
#include "morva/MORVADataTypeJSON.h"
#include "scoring/Scores.h"

namespace BX::range {

namespace {

using Json = MORVA::MORVADataTypeJSON;
using scoring::Gauge;

ShotRow rowOf(const scoring::Session& session, const scoring::Shot& shot) {
  ShotRow row;
  if (shot.received) row.received = shot.received->count();
  row.aimingTime = shot.aimingTime;
  if (shot.position) {
    row.x = shot.position->x;
    row.y = shot.position->y;
  }
  const auto target = session.targetOf(shot);
  if (!target) return row;
  if (const auto value = scoring::scoreOf(session, *target, Gauge::Edge, shot).value) {
    row.value = value->ring;
    row.tenths = value->tenths;
    row.innerTen = value->isInner ? 1 : 0;
  }
  return row;
}

}  // namespace

bool mayBeShot(std::string_view line) { return line.find(key::record::shotNumber) != std::string_view::npos; }

std::optional<ShotRow> shotIn(std::string_view line, const std::string& header) {
  Json record;
  Json told;
  if (!record.parseString(std::string(line)) || !told.parseString(header)) return std::nullopt;
  scoring::Session session(told.getDocument());
  if (!session.add(record.getDocument()) || session.shots().empty()) return std::nullopt;
  return rowOf(session, session.shots().front());
}

}  // namespace BX::range
