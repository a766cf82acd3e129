#pragma once

namespace BX::viewer {

// Windows never minds lingering connections; asked so, it would give two programs one address.
inline constexpr bool reusesAddress = false;

}  // namespace BX::viewer
