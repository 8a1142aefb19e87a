# SPDX-License-Identifier: MIT
# cmake -P script: install BUILD_DIR into WORK_DIR/prefix, check the installed
# tree, then build and run the consumer through find_package and pkg-config.
# EMULATOR, when given, is the command line that runs programs of the target.
separate_arguments(emulator UNIX_COMMAND "${EMULATOR}")
file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "failed (${rc}): ${ARGN}\n${out}\n${err}")
  endif()
  set(out "${out}" PARENT_SCOPE)
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})

set(expected
  ${BINDIR}/qelconv ${MANDIR}/man1/qelconv.1
  ${INCLUDEDIR}/qel/qelstr.h ${INCLUDEDIR}/qel/qelchars.h ${INCLUDEDIR}/qel/qelutftype.h ${INCLUDEDIR}/qel/qelcore.h
  ${LIBDIR}/cmake/qelutf/qelutfConfig.cmake ${LIBDIR}/cmake/qelutf/qelutfConfigVersion.cmake
  ${LIBDIR}/pkgconfig/qelutf.pc)
foreach(lib qelutf qelstrmem)
  if(SHARED OR lib STREQUAL qelstrmem)
    list(APPEND expected ${LIBDIR}/lib${lib}.so.1.0.0)
    # The development link and the SONAME link.
    foreach(link lib${lib}.so lib${lib}.so.1)
      if(NOT IS_SYMLINK ${prefix}/${LIBDIR}/${link})
        message(FATAL_ERROR "${LIBDIR}/${link} is not a symbolic link")
      endif()
    endforeach()
  else()
    list(APPEND expected ${LIBDIR}/lib${lib}.a)
  endif()
endforeach()
foreach(f IN LISTS expected)
  if(NOT EXISTS ${prefix}/${f})
    message(FATAL_ERROR "not installed: ${f}")
  endif()
endforeach()

# The installed tool finds its libraries on its own.
file(WRITE ${WORK_DIR}/in.txt "hello\n")
run(${emulator} ${prefix}/${BINDIR}/qelconv --check ${WORK_DIR}/in.txt)
if(NOT out MATCHES "UTF-8, no byte-order mark, 6 bytes, 1 line: well-formed")
  message(FATAL_ERROR "installed qelconv: ${out}")
endif()

# find_package
run(${CMAKE_COMMAND} -S ${CONSUMER_DIR} -B ${WORK_DIR}/cmake-build -G ${GENERATOR}
    -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_C_COMPILER=${C_COMPILER}
    "-DCMAKE_C_FLAGS=${SANITIZE_FLAGS}" "-DCMAKE_EXE_LINKER_FLAGS=${SANITIZE_FLAGS}")
run(${CMAKE_COMMAND} --build ${WORK_DIR}/cmake-build)
run(${emulator} ${WORK_DIR}/cmake-build/consumer)
if(NOT out STREQUAL "consumer: ok\n")
  message(FATAL_ERROR "find_package consumer: ${out}")
endif()

# pkg-config
find_program(PKG_CONFIG pkg-config)
if(NOT PKG_CONFIG)
  message(FATAL_ERROR "pkg-config is needed for this test")
endif()
set(ENV{PKG_CONFIG_PATH} ${prefix}/${LIBDIR}/pkgconfig)
run(${PKG_CONFIG} --cflags --libs qelutf)
separate_arguments(flags UNIX_COMMAND "${out}")
run(${PKG_CONFIG} --variable=libdir qelutf)
string(STRIP "${out}" libdir)
separate_arguments(sanitize UNIX_COMMAND "${SANITIZE_FLAGS}")
run(${C_COMPILER} -std=c11 ${sanitize} ${CONSUMER_DIR}/consumer.c ${flags} -Wl,-rpath,${libdir}
    -o ${WORK_DIR}/consumer-pc)
run(${emulator} ${WORK_DIR}/consumer-pc)
if(NOT out STREQUAL "consumer: ok\n")
  message(FATAL_ERROR "pkg-config consumer: ${out}")
endif()
message(STATUS "installed tree, find_package and pkg-config consumers: ok")
