# Installs the shared library under its real name with its links, the headers, the CMake package and the
# pkg-config file. Debug information goes into a file of its own beside the library.
include(CMakePackageConfigHelpers)

install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(TARGETS talvern EXPORT TalvernTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES
  $<TARGET_FILE_DIR:talvern>/libTalvern.so.5
  $<TARGET_FILE_DIR:talvern>/libTalvern.so
  DESTINATION ${CMAKE_INSTALL_LIBDIR})

set(TALVERN_INSTALLED_FILE
  "\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/libTalvern_v5.2.0_Linux_2.6_64.so")
configure_file(cmake/split_debug.cmake.in ${PROJECT_BINARY_DIR}/split_debug.cmake @ONLY)
install(SCRIPT ${PROJECT_BINARY_DIR}/split_debug.cmake)

set(TALVERN_CONFIG_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Talvern)
install(EXPORT TalvernTargets NAMESPACE Talvern:: DESTINATION ${TALVERN_CONFIG_DIR})
configure_package_config_file(cmake/TalvernConfig.cmake.in
  ${PROJECT_BINARY_DIR}/TalvernConfig.cmake INSTALL_DESTINATION ${TALVERN_CONFIG_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/TalvernConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/TalvernConfig.cmake
  ${PROJECT_BINARY_DIR}/TalvernConfigVersion.cmake
  DESTINATION ${TALVERN_CONFIG_DIR})

# Relative to the file's own place, so that an installation can be moved.
file(RELATIVE_PATH TALVERN_PC_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
configure_file(cmake/talvern.pc.in ${PROJECT_BINARY_DIR}/talvern.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/talvern.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
