# SPDX-License-Identifier: MIT
# cmake -P script: runs DOXYGEN on DOXYFILE into DOC_DIR from a clean slate, so
# that no page of a removed name survives. Doxygen's own warnings-as-errors
# decide the exit status.
file(REMOVE_RECURSE ${DOC_DIR}/html ${DOC_DIR}/man)
file(MAKE_DIRECTORY ${DOC_DIR})
execute_process(COMMAND ${DOXYGEN} ${DOXYFILE} WORKING_DIRECTORY ${DOC_DIR} RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "doxygen failed (${rc}): see the warnings above")
endif()
