# Installs the built library into a fresh prefix, then configures, builds and runs the consumer
# app against it with find_package. Arguments: BINARY_DIR (the build to install), WORK_DIR,
# SOURCE_DIR (the project), BUILD_TYPE, CXX_FLAGS.

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "Failed (${status}): ${ARGN}\n${out}\n${err}")
  endif()
  set(output "${out}" PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE "${WORK_DIR}")
run(${CMAKE_COMMAND} --install "${BINARY_DIR}" --prefix "${WORK_DIR}/prefix")
run(${CMAKE_COMMAND} -S "${SOURCE_DIR}/tests/package/consumer" -B "${WORK_DIR}/build"
    "-DCMAKE_PREFIX_PATH=${WORK_DIR}/prefix" "-DCMAKE_BUILD_TYPE=${BUILD_TYPE}"
    "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}"
    "-DQUICKSTART_SOURCE=${SOURCE_DIR}/docs/examples/quickstart.cpp")
run(${CMAKE_COMMAND} --build "${WORK_DIR}/build")
run("${WORK_DIR}/build/consumer")
string(FIND "${output}" "observed: Greeter" found)
if(found EQUAL -1)
  message(FATAL_ERROR "The consumer did not report the observed dependency:\n${output}")
endif()
