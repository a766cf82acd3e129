// Reading and writing a document by key, with fixed results for missing keys.
//
// Keys are compared byte by byte with their length. A document whose root is no object has no keys. The getters for
// booleans, integers and doubles write "Value not found with id: KEY" and a newline to standard error when they give
// the missing-key result; the others are silent.
#pragma once

#include <cstdint>
#include <limits>
#include <string>

#include "bx/export.h"
#include "morva/MORVADataTypeJSON.h"

namespace MORVA {

inline constexpr bool missingBoolean = true;
inline constexpr std::int32_t missingInteger = std::numeric_limits<std::int32_t>::max();
inline constexpr double missingDouble = std::numeric_limits<double>::max();

// Missing: true. A number is true when it is not zero; a text, null, object or array is true.
MORVA_API bool getBoolean(const MORVADataTypeJSON& document, const std::string& key);

// Missing, or neither number nor boolean: 2147483647. An integer beyond 32 bits keeps its low 32 bits; a double is
// truncated towards zero, and one that does not fit becomes -2147483648.
MORVA_API std::int32_t getInteger(const MORVADataTypeJSON& document, const std::string& key);

// Missing, or no number: the largest double.
MORVA_API double getDouble(const MORVADataTypeJSON& document, const std::string& key);

// Missing, or no text: the empty text.
MORVA_API std::string getText(const MORVADataTypeJSON& document, const std::string& key);

// A deep copy of an object or array member. Missing, or anything else: an empty object.
MORVA_API MORVADataTypeJSON getDocument(const MORVADataTypeJSON& document, const std::string& key);

// The setters return whether the document now has the key: false, and nothing is written, when its root is no object.
// A number or boolean takes the place of an existing member; a text or document removes an existing member and is
// added at the end.
MORVA_API bool setInteger(MORVADataTypeJSON& document, const std::string& key, std::int32_t value);
MORVA_API bool setDouble(MORVADataTypeJSON& document, const std::string& key, double value);
MORVA_API bool setBoolean(MORVADataTypeJSON& document, const std::string& key, bool value);
MORVA_API bool setText(MORVADataTypeJSON& document, const std::string& key, const std::string& value);

// `value` is copied deeply; one whose root is neither object nor array is added as an empty object.
MORVA_API bool setDocument(MORVADataTypeJSON& document, const std::string& key, const MORVADataTypeJSON& value);

// Appends a deep copy of an object or array to a document whose root is an array; false, and nothing is written, for
// any other root or value.
MORVA_API bool appendDocument(MORVADataTypeJSON& document, const MORVADataTypeJSON& value);

}  // namespace MORVA
