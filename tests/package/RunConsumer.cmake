# Installs the built library into a fresh prefix, then configures, builds and runs the consumer
# apps against it with find_package, once per compiler. Arguments: BINARY_DIR (the build to
# install), WORK_DIR, SOURCE_DIR (the project), BUILD_TYPE, CXX_FLAGS, COMPILERS (a list).

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "Failed (${status}): ${ARGN}\n${out}\n${err}")
  endif()
  set(output "${out}" PARENT_SCOPE)
endfunction()

function(expect text)
  string(FIND "${output}" "${text}" found)
  if(found EQUAL -1)
    message(FATAL_ERROR "Expected \"${text}\" in the consumer's output:\n${output}")
  endif()
endfunction()

file(REMOVE_RECURSE "${WORK_DIR}")
run(${CMAKE_COMMAND} --install "${BINARY_DIR}" --prefix "${WORK_DIR}/prefix")
string(REPLACE "|" ";" COMPILERS "${COMPILERS}")
foreach(compiler IN LISTS COMPILERS)
  get_filename_component(name "${compiler}" NAME)
  set(build "${WORK_DIR}/build-${name}")
  run(${CMAKE_COMMAND} -S "${SOURCE_DIR}/tests/package/consumer" -B "${build}"
      "-DCMAKE_CXX_COMPILER=${compiler}" "-DCMAKE_PREFIX_PATH=${WORK_DIR}/prefix"
      "-DCMAKE_BUILD_TYPE=${BUILD_TYPE}" "-DCMAKE_CXX_FLAGS=${CXX_FLAGS} -Wall -Wextra -Wpedantic -Werror"
      "-DQUICKSTART_SOURCE=${SOURCE_DIR}/docs/examples/quickstart.cpp")
  run(${CMAKE_COMMAND} --build "${build}")
  run("${build}/consumer")
  expect("observed: Greeter -> Logger")
  run("${build}/dashboard-consumer")
  expect("summary: Logger; Invalid dashboard configuration: HTTPS is required")
  message(STATUS "${name}: consumers built and ran")
endforeach()
