# Runs `brelvane run SCENARIO` and checks how it ends.
#   STATUS 2: nothing on standard output, one line on standard error.
#   STATUS 1: the output document lists exactly the failures that the file
#             SCENARIO with the extension .failures names, one "STEP KEY" a line.
# Usage: cmake -DTOOL=... -DSCENARIO=... -DSTATUS=1|2 -P expect_exit.cmake
execute_process(COMMAND ${TOOL} run ${SCENARIO}
  RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(NOT status EQUAL STATUS)
  message(FATAL_ERROR "exit status ${status}, expected ${STATUS}\n${err}")
endif()

if(STATUS EQUAL 2)
  if(NOT out STREQUAL "")
    message(FATAL_ERROR "an invalid scenario wrote to standard output:\n${out}")
  endif()
  string(REGEX MATCHALL "\n" breaks "${err}")
  list(LENGTH breaks lines)
  if(NOT lines EQUAL 1 OR NOT err MATCHES "^brelvane run: ")
    message(FATAL_ERROR "expected one line on standard error, got:\n${err}")
  endif()
  return()
endif()

if(NOT err STREQUAL "")
  message(FATAL_ERROR "unexpected standard error:\n${err}")
endif()
string(JSON count LENGTH "${out}" failures)
set(actual "")
if(count GREATER 0)
  math(EXPR last "${count} - 1")
  foreach(i RANGE ${last})
    string(JSON step GET "${out}" failures ${i} step)
    string(JSON key GET "${out}" failures ${i} key)
    list(APPEND actual "${step} ${key}")
  endforeach()
endif()
string(REGEX REPLACE "\\.json$" ".failures" listing "${SCENARIO}")
file(STRINGS "${listing}" expected)
if(NOT actual STREQUAL expected)
  message(FATAL_ERROR "failures listed: ${actual}\nexpected: ${expected}")
endif()
