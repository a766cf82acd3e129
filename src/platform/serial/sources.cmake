list(APPEND codec_sources
  platform/Hex.cpp
  platform/Utf8.cpp
  platform/serial/Frame.cpp
  platform/serial/LoopbackLine.cpp
  platform/serial/Payload.cpp
  platform/serial/Station.cpp
  platform/serial/Trace.cpp
  platform/serial/Transport.cpp)
list(APPEND serial_sources
  platform/serial/BXSerialCom.cpp
  platform/serial/Connection.cpp
  platform/serial/Engine.cpp
  platform/serial/Link.cpp
  platform/serial/Listening.cpp
  platform/serial/Loop.cpp
  platform/serial/PortBook.cpp
  platform/serial/SerialPortHandle.cpp
  platform/serial/SerialPortTransport.cpp)
