# cmake --install installs three components. Runtime is the shared library. Development has the headers, the CMake
# package and the pkg-config module. Tools is the generator of new daemons.
include(CMakePackageConfigHelpers)
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME Development)

set(BRINDLE_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/brindle)

install(TARGETS brindle EXPORT brindle-targets
  LIBRARY COMPONENT Runtime NAMELINK_COMPONENT Development
  ARCHIVE
  FILE_SET HEADERS)
install(EXPORT brindle-targets NAMESPACE brindle:: DESTINATION ${BRINDLE_PACKAGE_DIR})

configure_package_config_file(
  ${CMAKE_CURRENT_LIST_DIR}/brindle-config.cmake.in ${PROJECT_BINARY_DIR}/brindle-config.cmake
  INSTALL_DESTINATION ${BRINDLE_PACKAGE_DIR} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/brindle-config-version.cmake COMPATIBILITY SameMajorVersion)
install(
  FILES ${PROJECT_BINARY_DIR}/brindle-config.cmake ${PROJECT_BINARY_DIR}/brindle-config-version.cmake
  DESTINATION ${BRINDLE_PACKAGE_DIR})

# The .pc file finds the prefix relative to its directory, so that cmake --install --prefix needs no new configuration.
cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_LIBDIR BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX}
  OUTPUT_VARIABLE BRINDLE_LIBDIR)
cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_INCLUDEDIR BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX}
  OUTPUT_VARIABLE BRINDLE_INCLUDEDIR)
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig
  OUTPUT_VARIABLE BRINDLE_PC_TO_PREFIX)
# Libraries that a program links together with libbrindle.a. "Requires.private: apr-1 uuid" would also add APR's
# -D_GNU_SOURCE to every compilation.
list(JOIN BRINDLE_APR_STATIC_LDFLAGS " " BRINDLE_APR_LIBS)
list(JOIN BRINDLE_UUID_STATIC_LDFLAGS " " BRINDLE_UUID_LIBS)
configure_file(${CMAKE_CURRENT_LIST_DIR}/brindle.pc.in ${PROJECT_BINARY_DIR}/brindle.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/brindle.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

if(BRINDLE_INSTALL_DOCS)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/build/docs/man/ DESTINATION ${CMAKE_INSTALL_MANDIR})
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/build/docs/html DESTINATION ${CMAKE_INSTALL_DOCDIR})
endif()

# The script finds ../share/brindle/daemon relative to its directory.
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME Tools)
install(PROGRAMS ${PROJECT_SOURCE_DIR}/script/new-daemon DESTINATION ${CMAKE_INSTALL_BINDIR} RENAME brindle-new-daemon)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/templates/daemon DESTINATION ${CMAKE_INSTALL_DATADIR}/brindle
  USE_SOURCE_PERMISSIONS)
