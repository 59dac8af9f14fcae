# Runs the known-answer script into OUT and compares its FILES (by default the congruential
# generators' file) with those in DATA.
file(MAKE_DIRECTORY ${OUT})
execute_process(COMMAND /usr/bin/python3 ${SCRIPT} ${OUT} RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "${SCRIPT} failed: ${status}")
endif()
if(NOT FILES)
  set(FILES congruential_kat.txt)
endif()
foreach(name ${FILES})
  execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${OUT}/${name} ${DATA}/${name}
    RESULT_VARIABLE differ)
  if(differ)
    message(FATAL_ERROR "${name} differs from what ${SCRIPT} makes now")
  endif()
endforeach()
