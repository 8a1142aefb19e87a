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

# Manual pages go into a shared namespace: drop the alias pages of the
# anonymous enumerations (@0, @1, ...) and of the members of classes
# (qelChrXBuf, qel::converted, qel::ill_formed), whose short names (release,
# text, ok, ...) would shadow other pages. The pages they point to stay.
file(GLOB pages ${DOC_DIR}/man/man3/*.3)
foreach(page IN LISTS pages)
  get_filename_component(name ${page} NAME)
  file(READ ${page} text LIMIT 64)
  if(name MATCHES "^@" OR text MATCHES "^\\.so man3/(qelChrXBuf|qel_converted|qel_ill_formed)\\.3")
    file(REMOVE ${page})
  endif()
endforeach()
