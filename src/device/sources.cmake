list(APPEND device_sources
  device/BXDevice.cpp
  device/DebugHook.cpp
  device/InformationReply.cpp
  device/Stream.cpp)
