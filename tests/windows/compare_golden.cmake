# Runs the native case runner and compares its results with the golden file.
execute_process(COMMAND "${RUNNER}" "${OUTPUT}" RESULT_VARIABLE run_status)
if(NOT run_status EQUAL 0)
  message(FATAL_ERROR "the case runner failed: ${run_status}")
endif()
execute_process(COMMAND "${CMAKE_COMMAND}" -E compare_files "${OUTPUT}" "${GOLDEN}"
                RESULT_VARIABLE differ)
if(NOT differ EQUAL 0)
  message(FATAL_ERROR "results differ from ${GOLDEN} bit for bit; compare with ${OUTPUT}")
endif()
message(STATUS "results equal the golden file bit for bit")
