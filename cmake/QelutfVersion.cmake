# SPDX-License-Identifier: MIT
# Generates qel/qelversion.h from PROJECT_VERSION into the build tree; both
# libraries put it on their include path, and it is installed with the other
# headers.
set(QELUTF_GENERATED_INCLUDE ${PROJECT_BINARY_DIR}/include)
configure_file(${PROJECT_SOURCE_DIR}/include/qel/qelversion.h.in
  ${QELUTF_GENERATED_INCLUDE}/qel/qelversion.h @ONLY)
foreach(_qelutf_target qelutf qelstrmem)
  target_include_directories(${_qelutf_target} PUBLIC $<BUILD_INTERFACE:${QELUTF_GENERATED_INCLUDE}>)
endforeach()
