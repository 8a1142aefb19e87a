# SPDX-License-Identifier: MIT
cmake_minimum_required(VERSION 3.25)
# cmake -P script: abidiff of LIB against BASELINE. abidiff's exit status is a
# bit set: 1 tool error, 2 usage error, 4 some change, 8 an incompatible change.
# Additions alone show as 4, so a change is judged again with added symbols
# left out, where anything left is a removal or a change.
find_program(ABIDIFF abidiff)
if(NOT ABIDIFF)
  message(FATAL_ERROR "abidiff (Debian package abigail-tools) is needed for this test")
endif()
set(args --no-show-locs)
execute_process(COMMAND ${ABIDIFF} ${args} ${BASELINE} ${LIB} RESULT_VARIABLE rc OUTPUT_VARIABLE report
  ERROR_VARIABLE report)
if(rc EQUAL 0)
  message(STATUS "libqelutf: interface as in the baseline")
  return()
endif()
message("${report}")
if(rc GREATER_EQUAL 8 OR NOT rc EQUAL 4)
  message(FATAL_ERROR "libqelutf: interface broken against the baseline (abidiff ${rc})")
endif()
execute_process(COMMAND ${ABIDIFF} ${args} --no-added-syms ${BASELINE} ${LIB} RESULT_VARIABLE rc
  OUTPUT_VARIABLE changed ERROR_VARIABLE changed)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "libqelutf: interface changed against the baseline (abidiff ${rc}):\n${changed}")
endif()
message(STATUS "libqelutf: additions to the baseline only (allowed)")
