// RapidJSON 1.1 reads some numbers wrongly at full precision: a zero with more than 22 decimals or such an exponent
// (diyfp.h, Normalize, shifts until the highest bit is set, and zero has none), and whatever begins with the digits
// 18446744073709551615 and a 5 or more (strtod.h rounds the first 20 digits up, and 64 bits overflow). It is therefore
// given the shortest spelling of each number, which has no more than 17 digits. It also takes the second half of a
// surrogate pair without the first one, and skips a byte-order mark that is cut.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace MORVA {

// JSON text that means the same, each number that is no 64-bit integer spelled shortly. Nothing when a number is
// spelled as JSON has none, or when it is one of the texts that the reader takes wrongly; what else is not JSON stays
// so.
std::optional<std::string> withShortNumbers(std::string_view text);

}  // namespace MORVA
