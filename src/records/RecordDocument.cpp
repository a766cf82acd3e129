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
  members.number(key::record::positionX, aim.positionX);
  members.number(key::record::positionY, aim.positionY);
  members.integer(key::record::tilt, aim.tilt);
  members.integer(key::record::rotation, aim.rotation);
}

void addAngles(Members& members, const Aim& aim) {
  members.integer(key::record::rotationInDegrees, toDegrees(aim.rotation));
  members.integer(key::record::tiltInDegrees, toDegrees(aim.tilt));
}

void addStatus(Members& members, std::uint8_t status) {
  const auto flag = [status](std::uint8_t bit) { return (status & bit) != 0 ? 1 : 0; };
  members.integer(key::record::lowSignal, flag(status::lowSignal));
  members.integer(key::record::highSignal, flag(status::highSignal));
  members.integer(key::record::measureError, flag(status::measureError));
  members.integer(key::record::angleError, flag(status::angleError));
  members.integer(key::record::fsiError, flag(status::fsiError));
}

}  // namespace

MORVADataTypeJSON shotDocument(const Shot& shot) {
  return makeDocument([&shot](Members& members) {
    members.integer(key::ring::ringTargetNumber, shot.ringTarget);
    members.integer(key::silhouette::silhouetteTargetNumber, shot.silhouetteTarget);
    members.integer(key::record::functionMode, shot.functionMode);
    members.integer(key::record::shotNumber, shot.number);
    addPosition(members, shot.aim);
    members.number(key::record::distance, shot.aim.distance);
    addAngles(members, shot.aim);
    members.integer(key::record::time, shot.time);
    members.integer(key::record::fsi, shot.fsi);
    members.number(key::record::resultX, shot.aim.positionX);
    members.number(key::record::resultY, shot.aim.positionY);
    addStatus(members, shot.aim.status);
    if (shot.aimingTime) members.number(key::record::aimingTime, *shot.aimingTime);
  });
}

MORVADataTypeJSON measurementDocument(const Aim& aim) {
  return makeDocument([&aim](Members& members) {
    addPosition(members, aim);
    members.integer(key::record::distance, platform::truncateToInt(aim.distance));
    addAngles(members, aim);
    addStatus(members, aim.status);
  });
}

}  // namespace BX::records
