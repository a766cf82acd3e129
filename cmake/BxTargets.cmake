# How every target of the tree is compiled, and how a library of ours is made.

add_library(bx_options INTERFACE)
target_compile_options(bx_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor -Wold-style-cast
  -Woverloaded-virtual
  # Decoded numbers are part of the contract: no fused multiply-add may change them.
  -ffp-contract=off)
if(BX_WARNINGS_AS_ERRORS)
  target_compile_options(bx_options INTERFACE -Werror)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # A library with GNU-unique symbols is never unloaded by dlclose.
  target_compile_options(bx_options INTERFACE -fno-gnu-unique)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  target_compile_options(bx_options INTERFACE -Wthread-safety)  # reads the attributes of src/platform/Mutex.h
endif()
if(WIN32)
  # Windows 10, and none of what windows.h would define beside it. The system's messages come in UTF-8. Programs and
  # libraries carry their runtime.
  target_compile_definitions(bx_options INTERFACE
    _WIN32_WINNT=0x0A00 WIN32_LEAN_AND_MEAN NOMINMAX BOOST_SYSTEM_USE_UTF8)
  target_link_options(bx_options INTERFACE -static $<$<CONFIG:Release>:-s>)
  target_link_libraries(bx_options INTERFACE ws2_32 mswsock)
endif()
if(BX_SANITIZE)
  target_compile_options(bx_options INTERFACE -fsanitize=${BX_SANITIZE} -fno-omit-frame-pointer)
  target_link_options(bx_options INTERFACE -fsanitize=${BX_SANITIZE})
  if(BX_SANITIZE MATCHES "thread")
    # The thread sanitizer knows no fences; Asio's stand beside locks that order the same.
    target_compile_definitions(bx_options INTERFACE BOOST_ASIO_DISABLE_FENCED_BLOCK)
  endif()
  if(BX_SANITIZE MATCHES "undefined")
    target_compile_options(bx_options INTERFACE -fno-sanitize-recover=undefined)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
      # RapidJSON's stack adds a size to a pointer that may still be null (stack.h, line 117), which clang reports.
      target_compile_options(bx_options INTERFACE -fno-sanitize=pointer-overflow)
    endif()
  endif()
endif()
if(BX_BUILD_FUZZERS)
  target_compile_options(bx_options INTERFACE -fsanitize=fuzzer-no-link)
  target_link_options(bx_options INTERFACE -fsanitize=fuzzer-no-link)
endif()

# What leaves a shared library, by its name.
set(BX_EXPORTS ${PROJECT_SOURCE_DIR}/cmake/exports)
if(WIN32)
  string(APPEND BX_EXPORTS /windows)
elseif(BX_SINGLE_LIBRARY)
  string(APPEND BX_EXPORTS /engine)
endif()

# bx_library(NAME SOURCES ... INTERNAL ... DEPENDS ... LIBRARIES ...): the shared library NAME that hosts load, BX::NAME
# to them, and NAME_static, the same objects with their internal functions reachable, for tests, benchmarks and fuzzers.
# INTERNAL names static libraries of ours that become part of it; DEPENDS other libraries of ours, without a suffix;
# LIBRARIES anything else. BX_EXPORTS/NAME.txt lists what the shared one exports. With BX_SINGLE_LIBRARY it is not made.
function(bx_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;INTERNAL;DEPENDS;LIBRARIES" ${ARGN})
  add_library(${name}_objects OBJECT ${ARG_SOURCES})
  target_compile_definitions(${name}_objects PRIVATE ${name}_EXPORTS)
  target_link_libraries(${name}_objects PRIVATE bx_options PUBLIC ${ARG_LIBRARIES})
  bx_headers(${name}_objects)
  target_include_directories(${name}_objects PRIVATE ${PROJECT_SOURCE_DIR}/src)
  add_library(${name}_static STATIC EXCLUDE_FROM_ALL)
  set(suffixes _static)
  if(NOT BX_SINGLE_LIBRARY)
    add_library(${name} SHARED)
    bx_shared(${name} ${name})
    list(APPEND suffixes "")
  endif()
  foreach(suffix IN LISTS suffixes)
    target_link_libraries(${name}${suffix} PRIVATE bx_options ${name}_objects ${ARG_INTERNAL} PUBLIC ${ARG_LIBRARIES})
    bx_headers(${name}${suffix})
    foreach(dependency ${ARG_DEPENDS})
      target_link_libraries(${name}${suffix} PUBLIC ${dependency}${suffix})
    endforeach()
  endforeach()
  target_include_directories(${name}_static PUBLIC ${PROJECT_SOURCE_DIR}/src)
endfunction()

# bx_headers(NAME): NAME and whoever links it compile our public headers.
function(bx_headers name)
  target_compile_features(${name} PUBLIC cxx_std_20)
  target_include_directories(${name} PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>)
  target_include_directories(${name} SYSTEM PUBLIC $<BUILD_INTERFACE:${BX_RAPIDJSON_INCLUDE_DIR}>)
endfunction()

# bx_c_library(NAME SOURCES ... OBJECTS ... INTERNAL ...): the shared library NAME, BX::C to hosts, of SOURCES and of the
# objects of all our libraries: it depends on none of them.
function(bx_c_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;OBJECTS;INTERNAL" ${ARGN})
  list(TRANSFORM ARG_OBJECTS APPEND _objects)
  add_library(${name} SHARED ${ARG_SOURCES})
  set_target_properties(${name} PROPERTIES DEFINE_SYMBOL BX_DEVICE_C_EXPORTS)
  target_link_libraries(${name} PRIVATE bx_options ${ARG_OBJECTS} ${ARG_INTERNAL})
  target_include_directories(${name}
    PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/src)
  bx_shared(${name} C)
endfunction()

# bx_shared(NAME EXPORT): what all shared libraries have in common. A minor version may change what is binary, so that
# it is part of the name that programs look for; a single library is copied beside its host, under one plain name.
# EXPORT is the name behind BX::.
function(bx_shared name export)
  set_target_properties(${name} PROPERTIES EXPORT_NAME ${export})
  if(WIN32)
    set_target_properties(${name} PROPERTIES PREFIX "")
  elseif(NOT BX_SINGLE_LIBRARY)
    set_target_properties(${name} PROPERTIES
      VERSION ${PROJECT_VERSION}
      SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}
      INSTALL_RPATH $ORIGIN)
  endif()
  add_library(BX::${export} ALIAS ${name})
  if(NOT WIN32)  # where the macros of export.h alone decide
    bx_export(${name})
  endif()
endfunction()

# bx_export(NAME): lets out of the shared library what its list names, in C++ as it is read, and nothing else: the
# templates of the standard library and of Boost would leave as well. A line with a * is a pattern.
function(bx_export name)
  set(list ${BX_EXPORTS}/${name}.txt)
  set_property(DIRECTORY ${PROJECT_SOURCE_DIR} APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${list})
  file(STRINGS ${list} names)
  list(TRANSFORM names REPLACE "^[^*]+$" "\"\\0\"")
  list(JOIN names "; " names)
  set(script ${PROJECT_BINARY_DIR}/${name}.map)
  file(CONFIGURE OUTPUT ${script} CONTENT "{ global: extern \"C++\" { ${names}; }; local: *; };\n")
  target_link_options(${name} PRIVATE LINKER:--version-script=${script})
  set_target_properties(${name} PROPERTIES LINK_DEPENDS ${script})
endfunction()

# bx_test(NAME SOURCES ... LIBRARIES ...): one test program, its cases known to ctest one by one, but where each start
# takes long. UNIX_SOURCES are left out on Windows.
function(bx_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;UNIX_SOURCES;LIBRARIES" ${ARGN})
  if(WIN32)
    set(ARG_UNIX_SOURCES "")
  endif()
  add_executable(${name} ${ARG_SOURCES} ${ARG_UNIX_SOURCES})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(${name} PRIVATE bx_options ${ARG_LIBRARIES} GTest::gmock_main)
  if(BX_SANITIZE OR CMAKE_CROSSCOMPILING)
    target_compile_options(${name} PRIVATE -O0)  # half the time to compile; what is under test stays optimised
  endif()
  if(CMAKE_CROSSCOMPILING)
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES TIMEOUT 600)
  else()
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST PROPERTIES TIMEOUT 120)
  endif()
endfunction()
