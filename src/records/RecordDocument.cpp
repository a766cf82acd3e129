#include "platform/Numbers.h"
#include "records/RecordDecoder.h"

namespace BX::records {

namespace {

using MORVA::MORVADataTypeJSON;

// The members of one document in the making. They are gathered and then written in one piece of exactly their size:
// records arrive by the thousand and stay.
class Members {
 public:
  explicit Members(rapidjson::Document& events) : events_(events) {}

  void integer(std::string_view key, std::int32_t value) {
    begin(key);
    events_.Int(value);
  }
  void number(std::string_view key, double value) {
    begin(key);
    events_.Double(value);
  }
  rapidjson::SizeType count() const { return count_; }

 private:
  void begin(std::string_view key) {
    events_.Key(key.data(), static_cast<rapidjson::SizeType>(key.size()), true);
    ++count_;
  }

  rapidjson::Document& events_;
  rapidjson::SizeType count_ = 0;
};

template <typename AddMembers>
MORVADataTypeJSON makeDocument(const AddMembers& addMembers) {
  MORVADataTypeJSON document;
  const auto events = [&addMembers](rapidjson::Document& handler) {
    Members members(handler);
    handler.StartObject();
    addMembers(members);
    return handler.EndObject(members.count());
  };
  document.getDocument().Populate(events);
  return document;
}

void addPosition(Members& members, const Aim& aim) {
  members.number("PositionX", aim.positionX);
  members.number("PositionY", aim.positionY);
  members.integer("Tilt", aim.tilt);
  members.integer("Rotation", aim.rotation);
}

void addAngles(Members& members, const Aim& aim) {
  members.integer("RotationInDegrees", toDegrees(aim.rotation));
  members.integer("TiltInDegrees", toDegrees(aim.tilt));
}

void addStatus(Members& members, std::uint8_t status) {
  const auto flag = [status](std::uint8_t bit) { return (status & bit) != 0 ? 1 : 0; };
  members.integer("LowSignal", flag(status::lowSignal));
  members.integer("HighSignal", flag(status::highSignal));
  members.integer("MeasureError", flag(status::measureError));
  members.integer("AngleError", flag(status::angleError));
  members.integer("FSIError", flag(status::fsiError));
}

}  // namespace

MORVADataTypeJSON shotDocument(const Shot& shot) {
  return makeDocument([&shot](Members& members) {
    members.integer("RingTargetNumber", shot.ringTarget);
    members.integer("SilhouetteTargetNumber", shot.silhouetteTarget);
    members.integer("FunctionMode", shot.functionMode);
    members.integer("ShotNumber", shot.number);
    addPosition(members, shot.aim);
    members.number("Distance", shot.aim.distance);
    addAngles(members, shot.aim);
    members.integer("Time", shot.time);
    members.integer("FSI", shot.fsi);
    members.number("ResultX", shot.aim.positionX);
    members.number("ResultY", shot.aim.positionY);
    addStatus(members, shot.aim.status);
    if (shot.aimingTime) members.number("aimingTime", *shot.aimingTime);
  });
}

MORVADataTypeJSON measurementDocument(const Aim& aim) {
  return makeDocument([&aim](Members& members) {
    addPosition(members, aim);
    members.integer("Distance", platform::truncateToInt(aim.distance));
    addAngles(members, aim);
    addStatus(members, aim.status);
  });
}

}  // namespace BX::records
