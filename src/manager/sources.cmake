list(APPEND device_sources
  manager/BXDeviceManager.cpp
  manager/Connecting.cpp
  manager/Operations.cpp
  manager/Registry.cpp)
