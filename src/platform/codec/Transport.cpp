#include "bx/BXSerialLink.h"

namespace BX::link {

Transport::~Transport() = default;

}  // namespace BX::link
