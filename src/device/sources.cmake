list(APPEND device_sources
  device/DebugHook.cpp)
