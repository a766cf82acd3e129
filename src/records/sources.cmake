list(APPEND device_sources
  records/DeviceRecords.cpp
  records/RecordDecoder.cpp
  records/RecordDocument.cpp
)
