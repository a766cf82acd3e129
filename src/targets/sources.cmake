list(APPEND device_sources
  targets/RingCodec.cpp
  targets/RingTargetDownload.cpp
  targets/RingTargetUpload.cpp
  targets/SilhouetteCodec.cpp
  targets/SilhouetteTargetDownload.cpp
  targets/SilhouetteTargetUpload.cpp
  targets/TargetStore.cpp
  targets/TargetWire.cpp)
