# What `cmake --install` puts where. Every path in what is installed is relative, so that the tree may be moved.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# The C++ libraries and the one for C are exported apart: a host in C needs nothing of what the C++ headers include.
set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/BX_DEVICE)
function(bx_install_libraries export)
  install(TARGETS ${ARGN} EXPORT ${export} INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
  install(EXPORT ${export} NAMESPACE BX:: DESTINATION ${package_folder})
endfunction()

# bx_pkg_config(NAME DESCRIPTION LIBRARY...): NAME.pc for hosts that link these libraries.
function(bx_pkg_config name description)
  file(RELATIVE_PATH prefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
  string(REGEX REPLACE "/$" "" prefix ${prefix})
  file(RELATIVE_PATH libraries ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_LIBDIR})
  file(RELATIVE_PATH headers ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_INCLUDEDIR})
  list(TRANSFORM ARGN PREPEND -l)
  list(JOIN ARGN " " flags)
  file(CONFIGURE OUTPUT ${name}.pc @ONLY CONTENT [[
prefix=${pcfiledir}/@prefix@

Name: @name@
Description: @description@
Version: @PROJECT_VERSION@
Libs: -L${prefix}/@libraries@ @flags@
Cflags: -I${prefix}/@headers@
]])
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endfunction()

bx_install_libraries(BX_DEVICE_CXX BX_DEVICE BX_SERIAL_COM MORVA_Data_Type_JSON)
bx_pkg_config(BX_DEVICE "${PROJECT_DESCRIPTION}" BX_DEVICE BX_SERIAL_COM MORVA_Data_Type_JSON boost_thread)
bx_install_libraries(BX_DEVICE_C BX_DEVICE_C)
bx_pkg_config(BX_DEVICE_C "${PROJECT_DESCRIPTION}, for C" BX_DEVICE_C)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ TYPE INCLUDE FILES_MATCHING PATTERN *.h)

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/BX_DEVICEConfig.cmake.in BX_DEVICEConfig.cmake
  INSTALL_DESTINATION ${package_folder} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(BX_DEVICEConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/BX_DEVICEConfig.cmake ${PROJECT_BINARY_DIR}/BX_DEVICEConfigVersion.cmake
  DESTINATION ${package_folder})

# bx_manual(PROGRAM SENTENCE): the manual page of a program, made anew when the program is.
function(bx_manual program sentence)
  set(page ${PROJECT_BINARY_DIR}/${program}.1)
  add_custom_command(OUTPUT ${page}.gz DEPENDS ${program} ${PROJECT_SOURCE_DIR}/cmake/manual VERBATIM
    COMMAND ${PROJECT_SOURCE_DIR}/cmake/manual $<TARGET_FILE:${program}> ${sentence} ${page}
    COMMAND gzip --best --no-name --force ${page})
  add_custom_target(${program}-manual ALL DEPENDS ${page}.gz)
  install(FILES ${page}.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endfunction()

if(BX_BUILD_PROGRAMS)
  file(RELATIVE_PATH libraries ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
  set_target_properties(bx bx-sim PROPERTIES INSTALL_RPATH $ORIGIN/${libraries})
  install(TARGETS bx bx-sim)
  find_program(HELP2MAN help2man)
  if(HELP2MAN AND NOT CMAKE_CROSSCOMPILING)
    bx_manual(bx "command-line tool for laser shooting-training targets")
    bx_manual(bx-sim "simulated laser shooting-training target")
  else()
    message(STATUS "No manual pages: they need help2man")
  endif()
endif()
