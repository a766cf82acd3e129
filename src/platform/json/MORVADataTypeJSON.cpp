#include "morva/MORVADataTypeJSON.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cmath>
#include <utility>

#include "platform/json/NumberSpelling.h"
#include "platform/json/Walk.h"

namespace MORVA {

namespace {

using Pool = rapidjson::MemoryPoolAllocator<>;

// Holds the members of one shot record; RapidJSON's own 64 KiB would be paid for each of thousands.
constexpr std::size_t poolChunk = 768;

// Has no state. Given to every pool and document, which would otherwise each allocate one of their own.
rapidjson::CrtAllocator systemMemory;

std::unique_ptr<Pool> makePool() { return std::make_unique<Pool>(poolChunk, &systemMemory); }

rapidjson::Document makeDocument(rapidjson::Type type, Pool& pool) {
  constexpr std::size_t stackCapacity = 1024;
  return rapidjson::Document(type, &pool, stackCapacity, &systemMemory);
}

class TextWriter : public rapidjson::Writer<rapidjson::StringBuffer> {
 public:
  using Writer::Writer;
  bool Double(double number) { return std::isfinite(number) ? Writer::Double(number) : Null(); }
};

}  // namespace

MORVADataTypeJSON::MORVADataTypeJSON() : MORVADataTypeJSON(JSONType::Object) {}

MORVADataTypeJSON::MORVADataTypeJSON(JSONType type)
    : pool_(makePool()),
      document_(makeDocument(type == JSONType::Array ? rapidjson::kArrayType : rapidjson::kObjectType, *pool_)) {}

MORVADataTypeJSON::MORVADataTypeJSON(const MORVADataTypeJSON& other) : MORVADataTypeJSON() {
  rapidjson::Value& root = document_;
  root = deepCopy(other.document_, *pool_);
}

MORVADataTypeJSON::MORVADataTypeJSON(MORVADataTypeJSON&& other) noexcept = default;

MORVADataTypeJSON& MORVADataTypeJSON::operator=(const MORVADataTypeJSON& other) {
  return *this = MORVADataTypeJSON(other);
}

MORVADataTypeJSON& MORVADataTypeJSON::operator=(MORVADataTypeJSON&& other) noexcept {
  if (this != &other) {
    document_ = std::move(other.document_);
    pool_ = std::move(other.pool_);
  }
  return *this;
}

MORVADataTypeJSON::~MORVADataTypeJSON() = default;

rapidjson::Document& MORVADataTypeJSON::getDocument() { return document_; }

const rapidjson::Document& MORVADataTypeJSON::getDocument() const { return document_; }

bool MORVADataTypeJSON::parseString(const std::string& text) {
  // JSON has no place for a zero byte (texts spell it \u0000), but the parser would take one for the end.
  if (text.find('\0') != std::string::npos) return false;
  constexpr unsigned flags = rapidjson::kParseFullPrecisionFlag | rapidjson::kParseIterativeFlag;
  auto pool = makePool();
  rapidjson::Document parsed = makeDocument(rapidjson::kNullType, *pool);
  const auto readable = withShortNumbers(text);
  if (!readable || parsed.Parse<flags>(readable->data(), readable->size()).HasParseError()) return false;
  document_ = std::move(parsed);
  pool_ = std::move(pool);
  return true;
}

// NOLINTNEXTLINE(readability-const-return-type): the signature that hosts link
const std::string MORVADataTypeJSON::toString() const {
  rapidjson::StringBuffer text;
  TextWriter writer(text);
  walk(document_, writer);
  return {text.GetString(), text.GetSize()};
}

rapidjson::Value MORVADataTypeJSON::copyStringToValue(const std::string& text) {
  return {text.data(), static_cast<rapidjson::SizeType>(text.size()), *pool_};
}

void MORVADataTypeJSON::iterateAndSetValues(const rapidjson::Value::ConstObject& source, rapidjson::Value& target) {
  for (const auto& member : source) {
    rapidjson::Value name = deepCopy(member.name, *pool_);
    rapidjson::Value value = deepCopy(member.value, *pool_);
    target.AddMember(name, value, *pool_);
  }
}

void MORVADataTypeJSON::iterateAndSetValues(const rapidjson::Value::ConstArray& source, rapidjson::Value& target) {
  for (const auto& element : source) target.PushBack(deepCopy(element, *pool_), *pool_);
}

}  // namespace MORVA
