list(APPEND c_sources
  c/Border.cpp
  c/Calls.cpp
  c/Interface.cpp
  c/Records.cpp)
