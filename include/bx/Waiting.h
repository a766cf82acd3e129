// How the device library waits.
#pragma once

#include <chrono>
#include <functional>

#include "bx/export.h"

namespace BX {

// The device library waits for fixed times: 2 s before the startup command, 500 ms before the first mode command and
// 500 ms before a device is destroyed. From now on, in the whole process, it calls `wait` for that, on the thread that
// calls the library, with no lock but that of the device's operation; an empty function brings plain sleep back. The
// function may return early: the library then goes on as if the time had passed. A host with our own link installs
// BX::link::wait (BXSerialLink.h), so that a cancellation ends these waits as well. Any thread, at any time; a wait
// that is under way goes on as it began.
BX_DEVICE_API void setWaitFunction(std::function<void(std::chrono::milliseconds)> wait);

}  // namespace BX
