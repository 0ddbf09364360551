# ace_module_exports(target map): the shared library `target` exports exactly
# the names that the linker version script `map` lists as global, one list of
# names for every platform. ELF uses the version script itself. Windows gets a
# module-definition file made from the same list; on 32-bit Windows the
# __stdcall decoration (_Name@8) is also stripped, so that hosts find the plain
# names with GetProcAddress.
function(ace_module_exports target map)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${map})
  if(NOT WIN32)
    target_link_options(${target} PRIVATE -Wl,--version-script=${map} -Wl,--no-undefined)
    set_target_properties(${target} PROPERTIES LINK_DEPENDS ${map})
    return()
  endif()
  file(READ ${map} text)
  if(NOT text MATCHES "global:([^}]*)local:")
    message(FATAL_ERROR "${map}: no global: section")
  endif()
  string(REGEX MATCHALL "[A-Za-z_][A-Za-z0-9_]*" names "${CMAKE_MATCH_1}")
  list(JOIN names "\n  " exports)
  set(def ${CMAKE_CURRENT_BINARY_DIR}/${target}.def)
  file(CONFIGURE OUTPUT ${def} CONTENT "EXPORTS\n  ${exports}\n" @ONLY)
  target_sources(${target} PRIVATE ${def})
  if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    # The stdcall fixup matches the plain .def names to the decorated symbols
    # (_Name@8); --kill-at keeps the decoration out of the export names.
    target_link_options(${target} PRIVATE -Wl,--kill-at,--enable-stdcall-fixup)
    add_custom_command(TARGET ${target} POST_BUILD
      COMMAND ${CMAKE_COMMAND} -DNM=${CMAKE_NM} -DDLLTOOL=${CMAKE_DLLTOOL} -DDLL=$<TARGET_FILE:${target}>
        -DMAP=${map} -DIMPLIB=$<TARGET_LINKER_FILE:${target}>
        -P ${CMAKE_SOURCE_DIR}/cmake/StdcallImportLib.cmake
      VERBATIM)
  endif()
endfunction()
