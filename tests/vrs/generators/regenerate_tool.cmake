# Runs a known-answer tool into OUT and compares what it prints with the checked-in DATA.
execute_process(COMMAND ${TOOL} OUTPUT_FILE ${OUT} RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "${TOOL} failed: ${status}")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${OUT} ${DATA} RESULT_VARIABLE differ)
if(differ)
  message(FATAL_ERROR "${DATA} differs from what ${TOOL} makes now")
endif()
