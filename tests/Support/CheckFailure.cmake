# SPDX-License-Identifier: Apache-2.0
# Runs COMMAND and fails unless that fails and prints each line of the file EXPECTED.
execute_process(COMMAND ${COMMAND} OUTPUT_VARIABLE printed ERROR_VARIABLE complaint RESULT_VARIABLE result)
file(STRINGS ${EXPECTED} lines)
foreach(line IN LISTS lines)
    string(FIND "${printed}${complaint}" "${line}" at)
    if(result EQUAL 0 OR at EQUAL -1)
        message(FATAL_ERROR "${COMMAND} ended with ${result} and printed\n${printed}${complaint}but not\n${line}")
    endif()
endforeach()
