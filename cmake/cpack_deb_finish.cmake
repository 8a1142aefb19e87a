# SPDX-License-Identifier: MIT
# CPack pre-build script: completes each staged Debian package tree with the
# files that Debian asks of every package (a machine-readable copyright file
# and a compressed changelog in /usr/share/doc/<package>), compresses its
# manual pages and turns Doxygen's ".so" alias pages into symbolic links.
set(_packages runtime libqelutf1 dev libqelutf-dev qelconv qelconv)
set(_stage ${CPACK_TEMPORARY_DIRECTORY})

file(READ ${CPACK_QELUTF_LICENSE} _license)
string(REGEX REPLACE "\n\n" "\n.\n" _license "${_license}")
string(REGEX REPLACE "\n$" "" _license "${_license}")
string(REGEX REPLACE "\n" "\n " _license " ${_license}")
set(_copyright "Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/
Upstream-Name: qelutf

Files: *
Copyright: 2026 the qelutf authors
License: MIT
${_license}
")
set(_changelog "qelutf (${CPACK_QELUTF_VERSION}) unstable; urgency=medium

  * Release ${CPACK_PACKAGE_VERSION}; the changes are listed in CHANGELOG.md.

 -- ${CPACK_QELUTF_MAINTAINER}  Tue, 24 Nov 2026 00:00:00 +0000
")

function(gzip_file path)
  execute_process(COMMAND gzip -9nf ${path} RESULT_VARIABLE rc)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "gzip failed on ${path}")
  endif()
endfunction()

while(_packages)
  list(POP_FRONT _packages component package)
  set(root ${_stage}/${component})
  if(NOT IS_DIRECTORY ${root})
    continue()
  endif()
  set(doc ${root}${CPACK_PACKAGING_INSTALL_PREFIX}/share/doc/${package})
  file(MAKE_DIRECTORY ${doc})
  file(WRITE ${doc}/copyright "${_copyright}")
  file(WRITE ${doc}/changelog.Debian "${_changelog}")
  gzip_file(${doc}/changelog.Debian)

  file(GLOB_RECURSE pages LIST_DIRECTORIES false ${root}${CPACK_PACKAGING_INSTALL_PREFIX}/${CPACK_QELUTF_MANDIR}/*)
  foreach(page IN LISTS pages)
    file(READ ${page} text LIMIT 200)
    if(text MATCHES "^\\.so man[0-9]/([^\n]+)\n?$")
      get_filename_component(dir ${page} DIRECTORY)
      file(REMOVE ${page})
      file(CREATE_LINK ${CMAKE_MATCH_1}.gz ${page}.gz SYMBOLIC)
    else()
      gzip_file(${page})
    endif()
  endforeach()
endwhile()

# dpkg-shlibdeps of the tool looks for libqelutf.so.1 in the runtime package's
# staged tree; the runtime package itself is named in the tool's Depends.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
  ${_stage}/runtime${CPACK_PACKAGING_INSTALL_PREFIX}/${CPACK_QELUTF_LIBDIR})
