# Runs a table tool and compares its output with the checked-in file byte for byte.
#   cmake -DTOOL=<tool> -DOUT=<fresh output> -DCHECKED_IN=<file in the tree> -P regenerate.cmake
execute_process(COMMAND ${TOOL} ${OUT} RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "${TOOL} failed: ${rc}")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${OUT} ${CHECKED_IN} RESULT_VARIABLE diff)
if(NOT diff EQUAL 0)
  message(FATAL_ERROR "${CHECKED_IN} differs from what ${TOOL} writes now (${OUT})")
endif()
