# Installs the build into a scratch prefix, then builds and runs a small consumer program twice:
# once through find_package(oxl), once through pkg-config.
file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "failed (${rc}): ${ARGN}\n${out}\n${err}")
  endif()
  set(last_output "${out}" PARENT_SCOPE)
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})

run(${CMAKE_COMMAND} -S ${SOURCE_DIR}/consumer -B ${WORK_DIR}/build -DCMAKE_PREFIX_PATH=${prefix}
    -DCMAKE_C_COMPILER=${C_COMPILER})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/build)
run(${WORK_DIR}/build/consumer)
message(STATUS "find_package: ${last_output}")

file(GLOB pcdir LIST_DIRECTORIES true ${prefix}/lib*/pkgconfig)
set(ENV{PKG_CONFIG_PATH} ${pcdir})
run(pkg-config --cflags --libs oxl oxl_services)
string(STRIP "${last_output}" flags)
separate_arguments(flags UNIX_COMMAND "${flags}")
run(${C_COMPILER} ${SOURCE_DIR}/consumer/main.c -o ${WORK_DIR}/consumer_pc ${flags}
    -Wl,-rpath,${prefix}/lib)
file(GLOB libdirs LIST_DIRECTORIES true ${prefix}/lib*)
set(ENV{LD_LIBRARY_PATH} "${libdirs}")
run(${WORK_DIR}/consumer_pc)
message(STATUS "pkg-config: ${last_output}")
