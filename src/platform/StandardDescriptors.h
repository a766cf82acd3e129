// The descriptors 0, 1 and 2, which a program may be started without.
#pragma once

namespace BX::platform {

// To be called first of all: else the first files that are opened take these numbers, and get what is meant for
// standard output or standard error. Reading from, or writing to, one that was closed fails from now on, but what is
// written to standard error is dropped. Posix only.
void ensureStandardDescriptors();

}  // namespace BX::platform
