# SPDX-License-Identifier: Apache-2.0
# Runs PROGRAM and fails unless it succeeds and prints exactly the text of the file EXPECTED.
execute_process(COMMAND ${PROGRAM} OUTPUT_VARIABLE printed ERROR_VARIABLE complaint RESULT_VARIABLE result)
file(READ ${EXPECTED} expected)
if(NOT result EQUAL 0 OR NOT printed STREQUAL expected)
    message(FATAL_ERROR "${PROGRAM} ended with ${result} ${complaint}and printed\n${printed}instead of\n${expected}")
endif()
