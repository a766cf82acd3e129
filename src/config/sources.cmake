list(APPEND device_sources
  config/ControlByteSettings.cpp
  config/ControlBytes.cpp
  config/DeviceSetup.cpp
  config/ParameterSetExchange.cpp
  config/ParameterSetFrame.cpp
  config/ReportedSettings.cpp)
