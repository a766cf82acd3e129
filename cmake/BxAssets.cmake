# Text files as string constants of a header.

# bx_asset(NAME FILE...): the text of the files, one after the other, and its digest.
function(bx_asset name)
  set(text "")
  foreach(file ${ARGN})
    cmake_path(ABSOLUTE_PATH file)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
    file(READ ${file} part)
    string(APPEND text "${part}")
  endforeach()
  string(SHA256 digest "${text}")
  string(APPEND assets "inline constexpr auto ${name} = R\"page(${text})page\";\n"
    "inline constexpr auto ${name}Digest = \"${digest}\";\n\n")
  set(assets "${assets}" PARENT_SCOPE)
endfunction()

# bx_write_assets(HEADER NAMESPACE): those that were named in this directory.
function(bx_write_assets header namespace)
  set(path ${CMAKE_CURRENT_BINARY_DIR}/${header})
  file(WRITE ${path}.new "// The files that make the page.\n#pragma once\n\nnamespace ${namespace} {\n\n"
    "${assets}}  // namespace ${namespace}\n")
  file(COPY_FILE ${path}.new ${path} ONLY_IF_DIFFERENT)
endfunction()
