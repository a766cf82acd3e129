list(APPEND device_sources platform/time/TimeSeam.cpp)
