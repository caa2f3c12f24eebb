# Runs PROGRAM with ARGUMENTS, and if the last of them is a log once more with that log on standard input instead.
# Compares exit code and output with what is expected.
file(READ ${EXPECTED} expected)

function(run_and_compare)
  execute_process(COMMAND ${PROGRAM} ${ARGN} RESULT_VARIABLE exit OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT exit STREQUAL EXIT_CODE OR NOT output STREQUAL expected)
    message(FATAL_ERROR "${ARGN}: exit ${exit}, not ${EXIT_CODE}, or another output than ${EXPECTED}:\n${output}")
  endif()
endfunction()

run_and_compare(${ARGUMENTS})

list(POP_BACK ARGUMENTS last)
if(last MATCHES "\\.log$" AND EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/${last})
  run_and_compare(${ARGUMENTS} INPUT_FILE ${last})
endif()
