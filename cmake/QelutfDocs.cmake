# SPDX-License-Identifier: MIT
# The API reference, built by Doxygen from the public headers with warnings as
# errors: target qelutf_docs (scripts/docs) writes doc/html and doc/man into
# the build tree. Installing runs Doxygen afresh and installs the section-3
# manual pages, one page per header with a page for every documented name
# that leads to it. Without Doxygen at configure time the install leaves the
# pages out and says so; the package build insists on them.
find_package(Doxygen QUIET)
set(QELUTF_DOC_DIR ${PROJECT_BINARY_DIR}/doc)
option(QELUTF_REQUIRE_DOCS "Fail the configure step when Doxygen is missing" OFF)
if(NOT DOXYGEN_EXECUTABLE)
  if(QELUTF_REQUIRE_DOCS)
    message(FATAL_ERROR "Doxygen (Debian package doxygen) is needed for the manual pages")
  endif()
  install(CODE "message(STATUS \"Doxygen was not found when qelutf was configured: section-3 manual pages not installed\")"
    COMPONENT dev)
  return()
endif()

configure_file(${CMAKE_CURRENT_LIST_DIR}/Doxyfile.in ${PROJECT_BINARY_DIR}/Doxyfile @ONLY)
set(_qelutf_doc_run ${CMAKE_CURRENT_LIST_DIR}/run_doxygen.cmake)
set(_qelutf_doc_args -DDOXYGEN=${DOXYGEN_EXECUTABLE} -DDOXYFILE=${PROJECT_BINARY_DIR}/Doxyfile
  -DDOC_DIR=${QELUTF_DOC_DIR})
file(GLOB _qelutf_public_headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/include/qel/*.h
  ${PROJECT_SOURCE_DIR}/include/qel/*.hpp)
add_custom_command(OUTPUT ${QELUTF_DOC_DIR}/done
  COMMAND ${CMAKE_COMMAND} ${_qelutf_doc_args} -P ${_qelutf_doc_run}
  COMMAND ${CMAKE_COMMAND} -E touch ${QELUTF_DOC_DIR}/done
  DEPENDS ${_qelutf_public_headers} ${QELUTF_GENERATED_INCLUDE}/qel/qelversion.h
    ${PROJECT_BINARY_DIR}/Doxyfile ${_qelutf_doc_run}
  COMMENT "API reference (Doxygen)" VERBATIM)
add_custom_target(qelutf_docs DEPENDS ${QELUTF_DOC_DIR}/done)

string(REPLACE ";" "\" \"" _qelutf_doc_quoted "${_qelutf_doc_args}")
install(CODE "execute_process(COMMAND \"${CMAKE_COMMAND}\" \"${_qelutf_doc_quoted}\" -P \"${_qelutf_doc_run}\"
  RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR \"the API reference did not build\")
endif()" COMPONENT dev)
install(DIRECTORY ${QELUTF_DOC_DIR}/man/man3/ DESTINATION ${CMAKE_INSTALL_MANDIR}/man3 COMPONENT dev)
