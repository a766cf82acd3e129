// What the library reads from each kind of document, and what of it fits the wire.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "morva/MORVADataTypeJSON.h"

namespace BX::tool {

using Json = MORVA::MORVADataTypeJSON;

enum class DocumentKind { DeviceSettings, SessionSettings, RingTarget, SilhouetteTarget };

// "device settings", "ring targets"...
const char* nameOf(DocumentKind kind);

// Any: the library does not read it.
enum class FieldType { Boolean, Integer, Number, Choice, Name, Bitmap, Any };

// A number travels multiplied by `metric` when the text under `unitKey` is "mm" or "Millimeters" or there is no unit
// key, and else by `other`.
struct Scaling {
  std::int64_t metric = 1;
  std::int64_t other = 1;
  std::string unitKey = {};
};

struct Field {
  std::string key;
  FieldType type = FieldType::Boolean;
  std::int64_t highest = 0xFF;  // numbers: what the wire holds, after scaling
  Scaling scaling = {};
  // What the library takes for the key when it is missing; a number's is worked out. For a choice this is also what any
  // other text is taken as.
  std::string missing = {};
  std::vector<std::string> choices = {};
  bool required = false;
  bool sent = true;  // false: only its type matters, and it may be missing
};

// Every key that such a document may have, those that are read first.
const std::vector<Field>& fieldsOf(DocumentKind kind);

// What is wrong with a document, each as one phrase that names the key.
struct Findings {
  std::vector<std::string> problems;  // reasons to refuse it
  std::vector<std::string> warnings;  // what the library will take for keys that are missing or not understood
};

Findings check(const Json& document, DocumentKind kind);

// In quotation marks, and cut when it is longer than any text of a sound document.
std::string quoted(const std::string& text);

// The part of it that is about the keys of an object alone: none that is known, unknown ones, misspelt ones, those of
// another kind of document, and those that stand in one object twice.
std::vector<std::string> checkKeys(const Json& document, DocumentKind kind);

}  // namespace BX::tool
