list(APPEND codec_sources
  platform/Hex.cpp
  platform/Utf8.cpp
  platform/serial/codec/Frame.cpp
  platform/serial/codec/Payload.cpp
  platform/serial/codec/Station.cpp
  platform/serial/codec/Trace.cpp
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
