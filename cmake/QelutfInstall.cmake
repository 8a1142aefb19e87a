# SPDX-License-Identifier: MIT
# Installation: the two libraries (with their SONAME links), the public
# headers, a CMake package giving qelutf::qelutf and qelutf::qelstrmem, and a
# pkg-config file. Both the package and the .pc file are relocatable.
# Components: runtime (the shared libraries), dev (headers, development links,
# CMake package, .pc file, section-3 manual pages) and qelconv (the tool and
# its manual page); the Debian packages are cut along them.
include(CMakePackageConfigHelpers)

# A static libqelutf carries references into the C++ runtime; a program that
# the C driver links has to name it.
if(NOT QELUTF_SHARED)
  target_link_libraries(qelutf INTERFACE $<$<LINK_LANGUAGE:C>:stdc++>)
endif()

install(TARGETS qelutf qelstrmem EXPORT qelutfTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/qel
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev
  FILES_MATCHING PATTERN "*.h" PATTERN "*.hpp")
install(FILES ${QELUTF_GENERATED_INCLUDE}/qel/qelversion.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/qel COMPONENT dev)

set(_qelutf_cmakedir ${CMAKE_INSTALL_LIBDIR}/cmake/qelutf)
install(EXPORT qelutfTargets NAMESPACE qelutf:: DESTINATION ${_qelutf_cmakedir} COMPONENT dev)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/qelutfConfig.cmake.in
  ${PROJECT_BINARY_DIR}/qelutfConfig.cmake INSTALL_DESTINATION ${_qelutf_cmakedir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/qelutfConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/qelutfConfig.cmake ${PROJECT_BINARY_DIR}/qelutfConfigVersion.cmake
  DESTINATION ${_qelutf_cmakedir} COMPONENT dev)

# The .pc file finds its prefix from where it is installed.
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  set(QELUTF_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
else()
  file(RELATIVE_PATH _qelutf_up "/_/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/_")
  string(REGEX REPLACE "/$" "" _qelutf_up "${_qelutf_up}")
  set(QELUTF_PC_PREFIX "\${pcfiledir}/${_qelutf_up}")
endif()
set(QELUTF_PC_RUNTIME "")
if(NOT QELUTF_SHARED)
  set(QELUTF_PC_RUNTIME " -lstdc++")
endif()
configure_file(${CMAKE_CURRENT_LIST_DIR}/qelutf.pc.in ${PROJECT_BINARY_DIR}/qelutf.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/qelutf.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)
