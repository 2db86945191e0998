# Installs the shared library under its real name with its links, the headers, the CMake package and the
# pkg-config file. Debug information goes into a file of its own beside the library.
include(CMakePackageConfigHelpers)

install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(TARGETS talvern EXPORT TalvernTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES
  $<TARGET_FILE_DIR:talvern>/libTalvern.so.5
  $<TARGET_FILE_DIR:talvern>/libTalvern.so
  DESTINATION ${CMAKE_INSTALL_LIBDIR})

# Packagers may give the folder as an absolute path.
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  set(TALVERN_INSTALLED_FOLDER "${CMAKE_INSTALL_LIBDIR}")
  set(TALVERN_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
  set(TALVERN_PC_LIBDIR "${CMAKE_INSTALL_LIBDIR}")
else()
  set(TALVERN_INSTALLED_FOLDER "\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}")
  # Relative to the file's own place, so that an installation can be moved.
  file(RELATIVE_PATH TALVERN_PC_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
  set(TALVERN_PC_PREFIX "\${pcfiledir}/${TALVERN_PC_PREFIX}")
  set(TALVERN_PC_LIBDIR "\${prefix}/${CMAKE_INSTALL_LIBDIR}")
endif()
set(TALVERN_INSTALLED_NAME libTalvern_v5.2.0_Linux_2.6_64.so)
set(TALVERN_INSTALLED_FILE "\$ENV{DESTDIR}${TALVERN_INSTALLED_FOLDER}/${TALVERN_INSTALLED_NAME}")
set(TALVERN_BUILT_FILE "${PROJECT_BINARY_DIR}/src/${TALVERN_INSTALLED_NAME}")
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

configure_file(cmake/talvern.pc.in ${PROJECT_BINARY_DIR}/talvern.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/talvern.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
