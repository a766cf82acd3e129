// Bytes as hexadecimal text, under the names that the tests use.
#pragma once

#include "platform/Hex.h"

namespace BX::test {

using platform::bytesOf, platform::hexOf;

}  // namespace BX::test
