#include "morva/KeyedAccess.h"

#include <iostream>
#include <optional>
#include <utility>

#include "platform/Numbers.h"
#include "platform/json/Walk.h"

namespace MORVA {

namespace {

using rapidjson::Value;

Value keyOf(const std::string& key) {
  return Value(rapidjson::StringRef(key.data(), static_cast<rapidjson::SizeType>(key.size())));
}

const Value* find(const Value& root, const std::string& key) {
  if (!root.IsObject()) return nullptr;
  const auto member = root.FindMember(keyOf(key));
  return member == root.MemberEnd() ? nullptr : &member->value;
}

Value* find(Value& root, const std::string& key) { return const_cast<Value*>(find(std::as_const(root), key)); }

bool isContainer(const Value& value) { return value.IsObject() || value.IsArray(); }

std::int32_t toInteger(const Value& number) {
  if (number.IsInt64()) return BX::platform::cutTo32(number.GetInt64());
  if (number.IsUint64()) return BX::platform::cutTo32(static_cast<std::int64_t>(number.GetUint64()));
  return BX::platform::truncateToInt(number.GetDouble());
}

void reportMissing(const std::string& key) {
  // One text, so that lines of several threads do not mix.
  std::cerr << "Value not found with id: " + key + "\n";
}

void add(MORVADataTypeJSON& document, const std::string& key, Value value) {
  rapidjson::Document& root = document.getDocument();
  Value name = document.copyStringToValue(key);
  root.AddMember(name, value, root.GetAllocator());
}

// A number or boolean: in the place of the member that is there.
bool setInPlace(MORVADataTypeJSON& document, const std::string& key, Value value) {
  Value& root = document.getDocument();
  if (!root.IsObject()) return false;
  if (Value* member = find(root, key)) {
    *member = std::move(value);
  } else {
    add(document, key, std::move(value));
  }
  return true;
}

// A text or document: added at the end, whatever had the key before is gone.
bool setAtEnd(MORVADataTypeJSON& document, const std::string& key, Value value) {
  Value& root = document.getDocument();
  if (!root.IsObject()) return false;
  while (root.EraseMember(keyOf(key))) {
  }
  add(document, key, std::move(value));
  return true;
}

}  // namespace

bool getBoolean(const MORVADataTypeJSON& document, const std::string& key) {
  const Value* value = find(document.getDocument(), key);
  if (value == nullptr) {
    reportMissing(key);
    return missingBoolean;
  }
  if (value->IsNumber()) return value->GetDouble() != 0.0;
  return !value->IsFalse();
}

std::int32_t getInteger(const MORVADataTypeJSON& document, const std::string& key) {
  const Value* value = find(document.getDocument(), key);
  if (value != nullptr && value->IsNumber()) return toInteger(*value);
  if (value != nullptr && value->IsBool()) return value->GetBool() ? 1 : 0;
  reportMissing(key);
  return missingInteger;
}

double getDouble(const MORVADataTypeJSON& document, const std::string& key) {
  const Value* value = find(document.getDocument(), key);
  if (value != nullptr && value->IsNumber()) return value->GetDouble();
  reportMissing(key);
  return missingDouble;
}

std::string getText(const MORVADataTypeJSON& document, const std::string& key) {
  const Value* value = find(document.getDocument(), key);
  if (value == nullptr || !value->IsString()) return {};
  return {value->GetString(), value->GetStringLength()};
}

MORVADataTypeJSON getDocument(const MORVADataTypeJSON& document, const std::string& key) {
  MORVADataTypeJSON copy;
  const Value* value = find(document.getDocument(), key);
  if (value != nullptr && isContainer(*value)) {
    Value& root = copy.getDocument();
    root = deepCopy(*value, copy.getDocument().GetAllocator());
  }
  return copy;
}

bool setInteger(MORVADataTypeJSON& document, const std::string& key, std::int32_t value) {
  return setInPlace(document, key, Value(value));
}

bool setDouble(MORVADataTypeJSON& document, const std::string& key, double value) {
  return setInPlace(document, key, Value(value));
}

bool setBoolean(MORVADataTypeJSON& document, const std::string& key, bool value) {
  return setInPlace(document, key, Value(value));
}

bool setText(MORVADataTypeJSON& document, const std::string& key, const std::string& value) {
  return setAtEnd(document, key, document.copyStringToValue(value));
}

bool setDocument(MORVADataTypeJSON& document, const std::string& key, const MORVADataTypeJSON& value) {
  const Value& source = value.getDocument();
  auto& allocator = document.getDocument().GetAllocator();
  return setAtEnd(document, key, isContainer(source) ? deepCopy(source, allocator) : Value(rapidjson::kObjectType));
}

bool appendDocument(MORVADataTypeJSON& document, const MORVADataTypeJSON& value) {
  rapidjson::Document& root = document.getDocument();
  const Value& source = value.getDocument();
  if (!root.IsArray() || !isContainer(source)) return false;
  root.PushBack(deepCopy(source, root.GetAllocator()), root.GetAllocator());
  return true;
}

}  // namespace MORVA
