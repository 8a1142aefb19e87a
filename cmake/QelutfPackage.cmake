# SPDX-License-Identifier: MIT
# Debian packages through CPack (scripts/package): libqelutf1 (the two shared
# libraries), libqelutf-dev (headers, development links, CMake package,
# qelutf.pc, section-3 manual pages) and qelconv (the tool and its manual
# page), cut along the install components. Dependencies on libc and libstdc++
# come from dpkg-shlibdeps; those between the three are exact versions, since
# they are built together. cpack_deb_finish.cmake adds what Debian asks of
# every package (copyright, changelog, compressed manual pages) to the staged
# trees.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME qelutf)
set(CPACK_PACKAGE_VENDOR "the qelutf authors")
set(CPACK_PACKAGE_CONTACT "qelutf authors <qelutf@example.org>")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime dev qelconv)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(_qelutf_deb_version "${PROJECT_VERSION}-1")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libqelutf1)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
# The dynamic linker's cache is refreshed by dpkg's ldconfig trigger; the
# maintainer scripts, present only so that CPack writes no ldconfig calls of
# its own, do nothing.
set(_qelutf_deb_control ${PROJECT_BINARY_DIR}/deb-control)
file(WRITE ${_qelutf_deb_control}/triggers "activate-noawait ldconfig\n")
foreach(_qelutf_script postinst postrm)
  file(WRITE ${_qelutf_deb_control}/${_qelutf_script} "#!/bin/sh\nset -e\nexit 0\n")
endforeach()
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
  ${_qelutf_deb_control}/triggers ${_qelutf_deb_control}/postinst ${_qelutf_deb_control}/postrm)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "strict UTF-8, UTF-16 and UTF-32 conversion library
qelutf converts strings between UTF-8, UTF-16 and UTF-32 into bounded or
newly allocated buffers, works on strings in each encoding and reads and
writes byte-order marks. Only well-formed text is accepted; the first
ill-formed character stops a conversion at an exact position.

This package holds libqelutf and libqelstrmem, its default string memory
provider.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libqelutf-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "libqelutf1 (= ${_qelutf_deb_version})")
set(CPACK_COMPONENT_DEV_DESCRIPTION "strict UTF-8, UTF-16 and UTF-32 conversion library (development files)
qelutf converts strings between UTF-8, UTF-16 and UTF-32 into bounded or
newly allocated buffers, works on strings in each encoding and reads and
writes byte-order marks.

This package holds the C and C++ headers, the development links, the CMake
package, the pkg-config file and the API reference as section-3 manual
pages.")

set(CPACK_DEBIAN_QELCONV_PACKAGE_NAME qelconv)
set(CPACK_DEBIAN_QELCONV_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_QELCONV_PACKAGE_DEPENDS "libqelutf1 (= ${_qelutf_deb_version})")
set(CPACK_COMPONENT_QELCONV_DESCRIPTION "strict converter between UTF-8, UTF-16 and UTF-32 files
qelconv converts files between UTF-8, UTF-16 and UTF-32 in either byte
order, with or without a byte-order mark, and checks them. On ill-formed
input it writes everything before the fault and reports its exact byte,
line and column.")

set(CPACK_QELUTF_LIBDIR ${CMAKE_INSTALL_LIBDIR})
set(CPACK_QELUTF_MANDIR ${CMAKE_INSTALL_MANDIR})
set(CPACK_QELUTF_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_QELUTF_VERSION ${_qelutf_deb_version})
set(CPACK_QELUTF_MAINTAINER "${CPACK_PACKAGE_CONTACT}")
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/cpack_deb_finish.cmake)
include(CPack)
