# Runs quill once and compares its standard output, standard error and exit status with the
# expectations, exactly. Arguments (-D):
#   QUILL            the program
#   WORKDIR          where it runs (the source root, so that file names in messages are stable)
#   ARGS             its arguments, separated by '|'
#   STDIN            a file for standard input (optional)
#   EXPECTED_STDOUT  expected standard output (optional: absent means empty)
#   EXPECTED_STDERR  expected standard error (optional: absent means empty)
#   EXPECTED_STATUS  expected exit status
#   ACTUAL           prefix of the files the actual output is written to, for inspection
# With QUILL_UPDATE_GOLDEN=1 in the environment, mismatching expectation files are rewritten
# instead (review the diff before committing it).
cmake_minimum_required(VERSION 3.22)

string(REPLACE "|" ";" args "${ARGS}")
set(input)
if(STDIN)
  set(input INPUT_FILE ${STDIN})
endif()
execute_process(COMMAND ${QUILL} ${args}
  WORKING_DIRECTORY ${WORKDIR}
  ${input}
  OUTPUT_VARIABLE stdout
  ERROR_VARIABLE stderr
  RESULT_VARIABLE status)

get_filename_component(actualDir ${ACTUAL} DIRECTORY)
file(MAKE_DIRECTORY ${actualDir})
set(failures)

function(compare what actual expectedFile)
  set(expected "")
  if(expectedFile AND NOT EXISTS "${expectedFile}" AND "$ENV{QUILL_UPDATE_GOLDEN}" STREQUAL "1")
    file(WRITE ${expectedFile} "${actual}")
    message(STATUS "created ${expectedFile}")
    return()
  endif()
  if(expectedFile)
    if(NOT EXISTS "${expectedFile}" AND NOT "$ENV{QUILL_UPDATE_GOLDEN}" STREQUAL "1")
      set(failures "${failures}${what}: missing expectation file ${expectedFile}\n" PARENT_SCOPE)
      return()
    endif()
    if(EXISTS "${expectedFile}")
      file(READ ${expectedFile} expected)
    endif()
  endif()
  if("${actual}" STREQUAL "${expected}")
    return()
  endif()
  file(WRITE ${ACTUAL}.${what} "${actual}")
  if("$ENV{QUILL_UPDATE_GOLDEN}" STREQUAL "1" AND expectedFile)
    file(WRITE ${expectedFile} "${actual}")
    message(STATUS "updated ${expectedFile}")
    return()
  endif()
  set(diff "")
  if(expectedFile AND EXISTS "${expectedFile}")
    execute_process(COMMAND diff -u ${expectedFile} ${ACTUAL}.${what} OUTPUT_VARIABLE diff)
  else()
    set(diff "expected nothing, got:\n${actual}")
  endif()
  set(failures "${failures}${what} differs (actual in ${ACTUAL}.${what}):\n${diff}\n" PARENT_SCOPE)
endfunction()

compare(stdout "${stdout}" "${EXPECTED_STDOUT}")
compare(stderr "${stderr}" "${EXPECTED_STDERR}")
if(NOT "${status}" STREQUAL "${EXPECTED_STATUS}")
  set(failures "${failures}exit status ${status}, expected ${EXPECTED_STATUS}\n")
endif()

if(failures)
  string(REPLACE "|" " " shown "${ARGS}")
  message(FATAL_ERROR "quill ${shown}\n${failures}")
endif()
