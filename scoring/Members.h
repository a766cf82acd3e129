// Members of a document that may be missing, or of another type than they should be.
#pragma once

#include <rapidjson/document.h>

#include <cmath>
#include <limits>
#include <optional>
#include <string>

namespace BX::scoring {

// Null when there is no such member; so does every function below with nothing.
inline const rapidjson::Value& memberOf(const rapidjson::Value& document, const char* key) {
  static const rapidjson::Value null;
  if (!document.IsObject()) return null;
  const auto found = document.FindMember(key);
  return found == document.MemberEnd() ? null : found->value;
}

// Finite.
inline std::optional<double> numberOf(const rapidjson::Value& document, const char* key) {
  const rapidjson::Value& value = memberOf(document, key);
  if (!value.IsNumber() || !std::isfinite(value.GetDouble())) return std::nullopt;
  return value.GetDouble();
}

// Its whole part, when that has 32 bits.
inline std::optional<int> integerOf(const rapidjson::Value& document, const char* key) {
  const auto number = numberOf(document, key);
  if (!number || std::abs(*number) >= std::numeric_limits<int>::max()) return std::nullopt;
  return static_cast<int>(*number);
}

inline std::string textOf(const rapidjson::Value& document, const char* key) {
  const rapidjson::Value& value = memberOf(document, key);
  return value.IsString() ? std::string(value.GetString(), value.GetStringLength()) : std::string();
}

}  // namespace BX::scoring
