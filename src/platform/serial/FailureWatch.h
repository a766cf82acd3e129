// What the link tells the thread that it fails.
#pragma once

#include "bx/BXSerialLink.h"

namespace BX::link {

// An opening or an exchange of the calling thread has failed.
void noteFailure(const Failure& failure);

}  // namespace BX::link
