// Progress texts of the device library, one finished text a call, handed to the process-wide debug function.
#pragma once

#include <string>

namespace BX {

// Does nothing, from the start and after every SetDebugFunction. Tests put their own function here to see the texts.
extern void (*debugFunction)(const char*);

inline void log(const char* text) { debugFunction(text); }
inline void log(const std::string& text) { debugFunction(text.c_str()); }

}  // namespace BX
