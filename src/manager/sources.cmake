list(APPEND device_sources
  manager/Connecting.cpp
  manager/Operations.cpp
  manager/Registry.cpp)
