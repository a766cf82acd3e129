// Holds a document against its schema.
#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <map>
#include <optional>

#include "Schema.h"
#include "bx/DocumentKeys.h"
#include "morva/KeyedAccess.h"

namespace BX::tool {

namespace {

using Value = rapidjson::Value;
using Problem = std::optional<std::string>;

std::string describe(const Value& value) {
  switch (value.GetType()) {
    case rapidjson::kNullType:
      return "null";
    case rapidjson::kFalseType:
    case rapidjson::kTrueType:
      return "a boolean";
    case rapidjson::kObjectType:
      return "an object";
    case rapidjson::kArrayType:
      return "an array";
    case rapidjson::kStringType:
      return "a text";
    case rapidjson::kNumberType:
      break;
  }
  return "a number";
}

std::string wrongType(const Value& value, const char* expected) {
  return "is " + describe(value) + " where " + expected + " is expected";
}

// The shortest text that reads back as the same number.
std::string decimal(double value) {
  std::array<char, 32> text{};
  const auto written = std::to_chars(text.data(), text.data() + text.size(), value);
  return {text.data(), written.ptr};
}

std::int64_t factorOf(const Scaling& scaling, const Json& document) {
  if (scaling.unitKey.empty()) return scaling.metric;
  const std::string unit = MORVA::getText(document, scaling.unitKey);
  return unit == text::mm || unit == text::millimeters ? scaling.metric : scaling.other;
}

Problem checkNumber(const Field& field, const Value& value, std::int64_t factor) {
  const bool whole = field.type == FieldType::Integer;
  if (!value.IsNumber()) return wrongType(value, whole ? "a whole number" : "a number");
  const double given = value.GetDouble();
  if (whole && std::trunc(given) != given) return decimal(given) + " is no whole number";
  // A whole number must fit as it stands; the product of any other is cut to whole units of the wire.
  const double limit = static_cast<double>(field.highest) + (whole ? 0 : 1);
  const double product = given * static_cast<double>(factor);
  if (given >= 0 && (whole ? product <= limit : product < limit)) return std::nullopt;
  const double highest = static_cast<double>(field.highest) / static_cast<double>(factor);
  return decimal(given) + " does not fit the wire (0 to " + decimal(whole ? std::floor(highest) : highest) + ')';
}

Problem checkName(const Value& value) { return value.IsString() ? std::nullopt : Problem(wrongType(value, "a text")); }

Problem checkRow(const Value& row) {
  if (!row.IsArray()) return wrongType(row, "an array of 64 pixels");
  if (row.Size() != bitmapRows) return "has " + std::to_string(row.Size()) + " pixels where 64 are expected";
  for (rapidjson::SizeType i = 0; i < row.Size(); ++i) {
    if (!row[i].IsUint() || row[i].GetUint() > highestPixel) {
      return "pixel " + std::to_string(i) + " is no whole number from 0 to 3";
    }
  }
  return std::nullopt;
}

Problem checkBitmap(const Value& value) {
  if (!value.IsArray()) return wrongType(value, "an array of 64 rows");
  if (value.Size() != bitmapRows) return "has " + std::to_string(value.Size()) + " rows where 64 are expected";
  for (rapidjson::SizeType i = 0; i < value.Size(); ++i) {
    if (const auto problem = checkRow(value[i])) return "row " + std::to_string(i) + ' ' + *problem;
  }
  return std::nullopt;
}

Problem checkChoice(const Field& field, const Value& value) {
  if (!value.IsString()) return wrongType(value, "a text");
  const std::string given(value.GetString(), value.GetStringLength());
  if (std::find(field.choices.begin(), field.choices.end(), given) != field.choices.end()) return std::nullopt;
  std::string allowed;
  for (const auto& choice : field.choices) allowed += (allowed.empty() ? "" : ", ") + quoted(choice);
  return "is " + quoted(given) + " where one of " + allowed + " is expected (the library takes " + field.missing + ')';
}

Problem checkValue(const Field& field, const Value& value, const Json& document) {
  switch (field.type) {
    case FieldType::Boolean:
      return value.IsBool() ? std::nullopt : Problem(wrongType(value, "true or false"));
    case FieldType::Integer:
    case FieldType::Number:
      return checkNumber(field, value, factorOf(field.scaling, document));
    case FieldType::Choice:
      return checkChoice(field, value);
    case FieldType::Name:
      return checkName(value);
    case FieldType::Bitmap:
      return checkBitmap(value);
    case FieldType::Any:
      break;
  }
  return std::nullopt;
}

// What the library takes for a key that is missing.
std::string substitute(const Field& field, const Json& document) {
  if (field.type == FieldType::Number) return "the largest double, sent as 0";
  if (field.type != FieldType::Integer) return field.missing;
  const std::int64_t mask = field.highest > 0xFF ? 0xFFFF : 0xFF;
  const std::int64_t sent = (MORVA::missingInteger * factorOf(field.scaling, document)) & mask;
  return std::to_string(MORVA::missingInteger) + ", sent as " + std::to_string(sent);
}

bool isLongName(const Field& field, const Value& value) {
  return field.type == FieldType::Name && value.IsString() && value.GetStringLength() > longestTargetName;
}

bool isEmptyName(const Field& field, const Value& value) {
  return field.type == FieldType::Name && value.IsString() && value.GetStringLength() == 0;
}

// One phrase for all keys that are replaced by the same thing.
std::vector<std::string> phraseMissing(const std::vector<std::pair<std::string, std::string>>& missing) {
  std::vector<std::string> phrases;
  std::map<std::string, std::size_t> positions;
  for (const auto& [key, replacement] : missing) {
    const auto [position, isNew] = positions.emplace(replacement, phrases.size());
    if (isNew) {
      phrases.push_back("missing " + quoted(key));
    } else {
      phrases[position->second] += ", " + quoted(key);
    }
  }
  for (const auto& [replacement, position] : positions) phrases[position] += ": the library takes " + replacement;
  return phrases;
}

}  // namespace

std::string quoted(const std::string& text) {
  constexpr std::size_t longest = 60;
  return text.size() <= longest ? '"' + text + '"' : '"' + text.substr(0, longest) + "...\"";
}

Findings check(const Json& document, DocumentKind kind) {
  Findings findings{.problems = checkKeys(document, kind), .warnings = {}};
  const auto& root = document.getDocument();
  if (!root.IsObject()) findings.problems.push_back("is " + describe(root) + " where an object is expected");
  std::vector<std::pair<std::string, std::string>> missing;
  for (const auto& field : fieldsOf(kind)) {
    const Value* value = nullptr;
    if (root.IsObject()) {
      const auto member = root.FindMember(field.key.c_str());
      if (member != root.MemberEnd()) value = &member->value;
    }
    if (value == nullptr) {
      if (field.required) findings.problems.push_back("missing " + quoted(field.key));
      if (field.sent) missing.emplace_back(field.key, substitute(field, document));
    } else if (const auto problem = checkValue(field, *value, document)) {
      findings.problems.push_back(quoted(field.key) + ' ' + *problem);
    } else if (isLongName(field, *value)) {
      findings.warnings.push_back(quoted(field.key) + " has " + std::to_string(value->GetStringLength()) +
                                  " bytes: all are sent, and a device gives back " + std::to_string(longestTargetName));
    } else if (isEmptyName(field, *value)) {
      findings.warnings.push_back(quoted(field.key) + " is empty: the library takes " + field.missing);
    }
  }
  for (auto& phrase : phraseMissing(missing)) findings.warnings.push_back(std::move(phrase));
  return findings;
}

}  // namespace BX::tool
