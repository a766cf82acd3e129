list(APPEND codec_sources platform/serial/TcpName.cpp)
list(APPEND serial_sources
  platform/serial/BXSerialCom.cpp
  platform/serial/Cancelling.cpp
  platform/serial/Connection.cpp
  platform/serial/Engine.cpp
  platform/serial/FailureWatch.cpp
  platform/serial/HostLookup.cpp
  platform/serial/Link.cpp
  platform/serial/Listening.cpp
  platform/serial/Loop.cpp
  platform/serial/PortBook.cpp
  platform/serial/SerialPortTransport.cpp
  platform/serial/TcpTransport.cpp
  platform/serial/${BX_SYSTEM}/Network.cpp
  platform/serial/${BX_SYSTEM}/PortList.cpp
  platform/serial/${BX_SYSTEM}/SerialPortHandle.cpp)
