list(APPEND morva_sources
  platform/json/KeyedAccess.cpp
  platform/json/MORVADataTypeJSON.cpp
  platform/json/NumberSpelling.cpp
)
