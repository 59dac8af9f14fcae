# The checked-in twister tables are what the tools make.
#  - twister_polys.inc: tools/twister_poly from scratch.
#  - mt2203_table.inc: `emit` of the progress file, up to the rows the table holds; and one
#    member searched afresh gives the table's row (the search is deterministic).
# Arguments: POLY_TOOL, SEARCH_TOOL, SRC (source root), OUT (scratch directory).
file(MAKE_DIRECTORY ${OUT})
execute_process(COMMAND ${POLY_TOOL} ${OUT}/twister_polys.inc RESULT_VARIABLE rc OUTPUT_QUIET)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "twister_poly failed: ${rc}")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${OUT}/twister_polys.inc
                        ${SRC}/src/vrs/generators/twister_polys.inc RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "twister_polys.inc differs from the tool's output")
endif()

set(table ${SRC}/src/vrs/generators/mt2203_table.inc)
file(STRINGS ${table} rows_line REGEX "^// Rows: [0-9]+$")
string(REGEX REPLACE "^// Rows: " "" rows "${rows_line}")
execute_process(COMMAND ${SEARCH_TOOL} emit ${SRC}/tools/mt2203_progress.txt ${OUT}/mt2203_table.inc ${rows}
                RESULT_VARIABLE rc OUTPUT_QUIET)
execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${OUT}/mt2203_table.inc ${table}
                RESULT_VARIABLE rc2)
if(NOT rc EQUAL 0 OR NOT rc2 EQUAL 0)
  message(FATAL_ERROR "mt2203_table.inc is not the emit of the progress file")
endif()

file(REMOVE ${OUT}/fresh_progress.txt)
execute_process(COMMAND ${SEARCH_TOOL} search ${OUT}/fresh_progress.txt 2 2 RESULT_VARIABLE rc)
execute_process(COMMAND ${SEARCH_TOOL} emit ${OUT}/fresh_progress.txt ${OUT}/fresh.inc 3
                RESULT_VARIABLE rc2 OUTPUT_QUIET)
file(STRINGS ${OUT}/fresh.inc fresh REGEX "^0x")
file(STRINGS ${table} checked REGEX "^0x")
list(GET fresh 2 fresh_row)
list(GET checked 2 checked_row)
if(NOT rc EQUAL 0 OR NOT rc2 EQUAL 0 OR NOT fresh_row STREQUAL checked_row)
  message(FATAL_ERROR "member 2 searched afresh: '${fresh_row}', table: '${checked_row}'")
endif()
