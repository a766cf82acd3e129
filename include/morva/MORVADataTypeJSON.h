// The JSON document that crosses every boundary of the library: settings, targets, records and results.
//
// A document is a plain value. It owns its text and members; copies are deep and independent. A moved-from document
// may only be destroyed or assigned to. Different documents may be used from different threads at once; one document
// may be read from several threads at once, but not read while it is written.
#pragma once

#include <rapidjson/document.h>

#include <cstdint>
#include <memory>
#include <string>

#include "bx/export.h"

namespace MORVA {

// What a fresh document holds.
enum class JSONType : std::int32_t { Object = 0, Array = 1 };

class MORVA_API MORVADataTypeJSON {
 public:
  // An empty object.
  MORVADataTypeJSON();
  // An empty object or an empty array.
  explicit MORVADataTypeJSON(JSONType type);
  MORVADataTypeJSON(const MORVADataTypeJSON& other);
  MORVADataTypeJSON(MORVADataTypeJSON&& other) noexcept;
  MORVADataTypeJSON& operator=(const MORVADataTypeJSON& other);
  MORVADataTypeJSON& operator=(MORVADataTypeJSON&& other) noexcept;
  virtual ~MORVADataTypeJSON();

  // The RapidJSON document itself, for what the accessors of KeyedAccess.h do not offer. Values that are added to it
  // must come from its own allocator, and it must not be swapped with or moved into another RapidJSON document: its
  // allocator belongs to this object. RapidJSON's own Accept, CopyFrom and == take stack for each level of nesting.
  // Compare with typed getters: under C++20 `value == 1` calls itself without end in RapidJSON 1.1.0.
  rapidjson::Document& getDocument();
  const rapidjson::Document& getDocument() const;

  // Replaces the document by what `text` says. False when `text` is not one JSON value; the document is then as it
  // was. Numbers are read with full precision, so that a text round trip changes no double. Texts are taken as they
  // are, valid UTF-8 or not, and may hold zero bytes (\u0000). Nesting costs no stack, here and in copies and toString.
  bool parseString(const std::string& text);

  // The document as JSON text without white space, members in their order. A number that JSON cannot write (an
  // infinity, not a number) is written as null.
  const std::string toString() const;  // NOLINT(readability-const-return-type): the signature that hosts link

  // A text value owned by this document: for keys and texts that are added to it. Embedded zero bytes are kept.
  rapidjson::Value copyStringToValue(const std::string& text);

  // Adds deep copies of `source`'s members (of its elements) to the end of `target`, an object (an array) of this
  // document's own allocator.
  void iterateAndSetValues(const rapidjson::Value::ConstObject& source, rapidjson::Value& target);
  void iterateAndSetValues(const rapidjson::Value::ConstArray& source, rapidjson::Value& target);

 private:
  // Owned apart from the document, so that the chunk can be small: thousands of records are held at once.
  std::unique_ptr<rapidjson::MemoryPoolAllocator<>> pool_;
  rapidjson::Document document_;
};

}  // namespace MORVA
