# One Debian package of all that is installed: `cpack` in the build folder.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME bx-device)
set(CPACK_PACKAGE_CONTACT "The BX_DEVICE contributors <bx-device@example.org>" CACHE STRING "Who maintains the package")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "access to laser shooting-training targets on serial ports")
set(CPACK_PACKAGE_DESCRIPTION "Connects and configures target devices, uploads targets, and turns every shot
and measurement into a JSON document. The package has the libraries with
their headers, the command-line tool bx, and bx-sim, a simulated device.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# The programs and libraries ask for what they load by themselves; these two are what our headers include.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_PACKAGE_DEPENDS "rapidjson-dev, libboost-thread-dev")
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

file(CONFIGURE OUTPUT triggers CONTENT "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/triggers)

# The papers that every Debian package carries.
set(papers ${CMAKE_INSTALL_DATAROOTDIR}/doc/${CPACK_PACKAGE_NAME})
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${papers} RENAME copyright)
string(TIMESTAMP now "%a, %d %b %Y %H:%M:%S +0000" UTC)
file(CONFIGURE OUTPUT changelog.Debian @ONLY CONTENT
"@CPACK_PACKAGE_NAME@ (@PROJECT_VERSION@-@CPACK_DEBIAN_PACKAGE_RELEASE@) unstable; urgency=medium

  * Build of version @PROJECT_VERSION@; changelog.gz tells what is new.

 -- @CPACK_PACKAGE_CONTACT@  @now@
")
configure_file(CHANGELOG.md changelog COPYONLY)
foreach(paper changelog changelog.Debian)
  file(ARCHIVE_CREATE OUTPUT ${PROJECT_BINARY_DIR}/${paper}.gz PATHS ${PROJECT_BINARY_DIR}/${paper}
    FORMAT raw COMPRESSION GZip COMPRESSION_LEVEL 9)
  install(FILES ${PROJECT_BINARY_DIR}/${paper}.gz DESTINATION ${papers})
endforeach()

include(CPack)
