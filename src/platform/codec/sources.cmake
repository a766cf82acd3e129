list(APPEND codec_sources
  platform/${BX_SYSTEM}/Descriptors.cpp
  platform/Hex.cpp
  platform/OutputFile.cpp
  platform/Utf8.cpp
  platform/codec/Frame.cpp
  platform/codec/Payload.cpp
  platform/codec/Station.cpp
  platform/codec/Trace.cpp
  platform/codec/Transport.cpp)
