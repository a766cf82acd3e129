#pragma once

namespace BX::viewer {

// Whether to ask for an address although connections of a program that has ended still linger there.
inline constexpr bool reusesAddress = true;

}  // namespace BX::viewer
