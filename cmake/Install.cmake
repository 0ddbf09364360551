# Installing aceplug as a distribution packages a library: a versioned
# libaceplug.so with its SONAME, the public header, a CMake package
# (find_package(aceplug) gives aceplug::aceplug), a pkg-config file,
# UnAceV2.Dll beside the plug-in (where the plug-in loads it from), acearc
# with its man page and bash completion; `cpack -G DEB` makes a .deb of it.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set_target_properties(aceplug PROPERTIES
  VERSION ${PROJECT_VERSION}
  SOVERSION ${PROJECT_VERSION_MAJOR})

install(TARGETS aceplug EXPORT aceplugTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev)
if(TARGET unacev2)
  # The plug-in loads it from its own directory, whatever the prefix.
  install(TARGETS unacev2
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
endif()
install(FILES ${PROJECT_SOURCE_DIR}/include/aceplug/aceplug.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/aceplug COMPONENT dev)

set(ACEPLUG_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/aceplug)
install(EXPORT aceplugTargets NAMESPACE aceplug:: DESTINATION ${ACEPLUG_CMAKE_DIR}
  COMPONENT dev)
configure_package_config_file(${PROJECT_SOURCE_DIR}/packaging/aceplugConfig.cmake.in
  ${PROJECT_BINARY_DIR}/packaging/aceplugConfig.cmake INSTALL_DESTINATION ${ACEPLUG_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/packaging/aceplugConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/packaging/aceplugConfig.cmake
  ${PROJECT_BINARY_DIR}/packaging/aceplugConfigVersion.cmake
  DESTINATION ${ACEPLUG_CMAKE_DIR} COMPONENT dev)

# The prefix is found from where the .pc file lies, so the file stays right
# wherever the tree is installed (cpack installs into /usr).
file(RELATIVE_PATH ACEPLUG_PC_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
string(REGEX REPLACE "/$" "" ACEPLUG_PC_PREFIX "\${pcfiledir}/${ACEPLUG_PC_PREFIX}")
foreach(dir LIBDIR INCLUDEDIR)
  if(IS_ABSOLUTE "${CMAKE_INSTALL_${dir}}")
    set(ACEPLUG_PC_${dir} "${CMAKE_INSTALL_${dir}}")
  else()
    set(ACEPLUG_PC_${dir} "\${prefix}/${CMAKE_INSTALL_${dir}}")
  endif()
endforeach()
configure_file(${PROJECT_SOURCE_DIR}/packaging/aceplug.pc.in
  ${PROJECT_BINARY_DIR}/packaging/aceplug.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/packaging/aceplug.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)

if(TARGET acearc)
  # The man page is made from acearc's own --help texts when it is installed,
  # so the two cannot drift apart; that needs the program to run here.
  if(UNIX AND NOT CMAKE_CROSSCOMPILING)
    set(ACEPLUG_MAN_PAGE ${PROJECT_BINARY_DIR}/packaging/acearc.1)
    install(CODE "
      file(MAKE_DIRECTORY \"${PROJECT_BINARY_DIR}/packaging\")
      execute_process(COMMAND sh \"${PROJECT_SOURCE_DIR}/packaging/make-man-page.sh\"
          \"$<TARGET_FILE:acearc>\" \"${PROJECT_VERSION}\"
        OUTPUT_FILE \"${ACEPLUG_MAN_PAGE}\" RESULT_VARIABLE result)
      if(result)
        message(FATAL_ERROR \"acearc.1 could not be made from acearc --help: \${result}\")
      endif()" COMPONENT runtime)
    install(FILES ${ACEPLUG_MAN_PAGE} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT runtime)
  endif()
  install(FILES ${PROJECT_SOURCE_DIR}/packaging/acearc.bash-completion
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME acearc
    COMPONENT runtime)
endif()

# cpack -G DEB: one package with the runtime and the development files.
set(CPACK_PACKAGE_NAME aceplug)
set(CPACK_PACKAGE_VENDOR "aceplug developers")
set(CPACK_PACKAGE_CONTACT "aceplug developers <aceplug@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
  "ACE archive format plug-in, its extraction library and the acearc command")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL OFF)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libc6 (>= 2.34), libstdc++6 (>= 12), libgcc-s1")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
include(CPack)

# The installed tree used as another project would use it.
if(ACEPLUG_BUILD_TESTS AND TARGET acearc AND UNIX AND NOT CMAKE_CROSSCOMPILING
   AND NOT ACEPLUG_SANITIZE)
  add_test(NAME install.consumers
    COMMAND ${PROJECT_SOURCE_DIR}/scripts/check-install.sh ${PROJECT_BINARY_DIR})
  set_tests_properties(install.consumers PROPERTIES LABELS install)
endif()
