list(APPEND device_sources
  download/StoredResults.cpp
  download/StoredResultsWire.cpp)
