# Checks the libraries' dynamic dependencies with readelf: the core links no network stack
# (OpenSSL, cpp-httplib, brotli, zlib), and the dashboard library is where cpp-httplib is.
# Arguments: CORE, DASHBOARD (the built libraries), READELF.

function(needed library out)
  execute_process(COMMAND ${READELF} -d ${library} RESULT_VARIABLE status OUTPUT_VARIABLE text)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "readelf -d ${library} failed (${status})")
  endif()
  string(REGEX MATCHALL "\\(NEEDED\\)[^\n]*\\[[^]\n]+\\]" entries "${text}")
  list(TRANSFORM entries REPLACE ".*\\[([^]]+)\\]" "\\1")
  set(${out} "${entries}" PARENT_SCOPE)
endfunction()

set(forbidden "^lib(ssl|crypto|cpp-httplib|httplib|brotli[a-z]*|z)\\.so")
needed(${CORE} core)
needed(${DASHBOARD} dashboard)
if(NOT core)
  message(FATAL_ERROR "readelf found no NEEDED entry in ${CORE}")
endif()
foreach(entry IN LISTS core)
  if(entry MATCHES "${forbidden}")
    message(FATAL_ERROR "${CORE} needs ${entry}; the core must not link the network stack:\n${core}")
  endif()
endforeach()
if(NOT dashboard MATCHES "httplib")
  message(FATAL_ERROR "${DASHBOARD} does not need cpp-httplib:\n${dashboard}")
endif()
message(STATUS "core needs: ${core}")
