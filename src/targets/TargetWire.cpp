#include "targets/TargetWire.h"

#include <algorithm>

#include "bx/DocumentKeys.h"
#include "morva/KeyedAccess.h"

namespace BX::targets {

bool isMetres(const Json& target) {
  const auto unit = MORVA::getText(target, key::target::distanceUnit);
  return unit == text::m || unit == text::meters;
}

bool isMillimetres(const Json& target, const std::string& key) {
  const auto unit = MORVA::getText(target, key);
  return unit == text::mm || unit == text::millimeters;
}

void appendName(Bytes& frame, const std::string& name) {
  frame.insert(frame.end(), name.begin(), name.end());
  const auto missing = nameSize - std::min(nameSize, name.size());
  frame.insert(frame.end(), missing + namePadding, 0);
}

std::string nameOf(std::span<const std::uint8_t> reply) {
  const auto content = reply.subspan(std::min(reply.size(), reply::contentOffset));
  const auto field = content.first(std::min(content.size(), nameSize));
  return {field.begin(), std::find(field.begin(), field.end(), 0)};
}

Bytes downloadRequest(std::uint8_t letter, std::int32_t number, std::uint8_t index) {
  return {letter, platform::lowByte(number), index};
}

}  // namespace BX::targets
