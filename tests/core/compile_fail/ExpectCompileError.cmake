# Builds TARGET in BINARY_DIR and expects it to fail with exactly one error: the static_assert
# whose message follows "// Expect: " on the first line of SOURCE.
file(STRINGS ${SOURCE} first LIMIT_COUNT 1)
string(REPLACE "// Expect: " "" expected "${first}")
execute_process(COMMAND ${CMAKE_COMMAND} --build ${BINARY_DIR} --target ${TARGET}
  RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
string(REGEX MATCHALL "error:" errors "${output}")
list(LENGTH errors errorCount)
string(FIND "${output}" "${expected}" at)
if(status EQUAL 0 OR NOT errorCount EQUAL 1 OR at EQUAL -1)
  message(FATAL_ERROR "expected one error \"${expected}\", got ${errorCount} (status ${status}):\n${output}")
endif()
