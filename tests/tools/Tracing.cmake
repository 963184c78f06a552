# Text and binary tracing of `quill run`. Arguments (-D): QUILL, WORKDIR, RLFILE (a path to
# write the binary trace to).
cmake_minimum_required(VERSION 3.22)

set(scenario ${WORKDIR}/examples/link-failure.scn)
get_filename_component(scratch ${RLFILE} DIRECTORY)
set(emptyDir ${scratch}/tracing-cwd)
file(REMOVE_RECURSE ${emptyDir})
file(MAKE_DIRECTORY ${emptyDir})
file(REMOVE ${RLFILE})

# --trace turns on exactly the handles and levels it names; records go to standard error.
execute_process(
  COMMAND ${CMAKE_COMMAND} -E env RLFILE=${RLFILE}
          ${QUILL} run --trace QuillLabelForwardingInfoSm/8 ${scenario}
  WORKING_DIRECTORY ${emptyDir}
  OUTPUT_VARIABLE out ERROR_VARIABLE err RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "quill run --trace: exit status ${status}\n${err}")
endif()
# Every line is a record of that one handle at that one level.
string(REGEX REPLACE
  "[0-9-]+T[0-9:.]+Z QuillLabelForwardingInfoSm 8 LabelForwardingInfoSm:[0-9]+ Mpls::LabelForwardingInfoSm::[^\n]*\n"
  "" others "${err}")
string(REGEX MATCHALL "\n" records "${err}")
list(LENGTH records count)
if(count LESS 5 OR NOT others STREQUAL "")
  message(FATAL_ERROR "expected only level-8 records of QuillLabelForwardingInfoSm, got:\n${err}")
endif()
if(NOT err MATCHES "handleInitialized\\(\\)")
  message(FATAL_ERROR "no handleInitialized record in:\n${err}")
endif()

# RLFILE named the binary trace, and nothing else was written where quill ran.
file(GLOB leftovers ${emptyDir}/*)
if(leftovers)
  message(FATAL_ERROR "quill run left files behind: ${leftovers}")
endif()
if(NOT EXISTS ${RLFILE})
  message(FATAL_ERROR "RLFILE=${RLFILE} was not written")
endif()

execute_process(COMMAND ${QUILL} trace ${RLFILE}
  OUTPUT_VARIABLE decoded ERROR_VARIABLE err RESULT_VARIABLE status)
if(NOT status EQUAL 0 OR NOT err STREQUAL "")
  message(FATAL_ERROR "quill trace: exit status ${status}\n${err}")
endif()
foreach(expected
    "timer Mpls::LabelForwardingInfoSm::handleInitialized [0-9]+ns\n"
    "timer Mpls::LabelForwardingInfoSm::handleDelete [0-9]+ns\n"
    "text QuillLabelForwardingInfoSm 8 handleDelete\\(\\)\n"
    "timer Mpls::P2mpLfibGenSmManager::handleInitialized [0-9]+ns\n")
  if(NOT decoded MATCHES "${expected}")
    message(FATAL_ERROR "no line matching '${expected}' in the decoded trace:\n${decoded}")
  endif()
endforeach()
# Every decoded line starts with its time, seconds with nine decimals.
string(REGEX REPLACE "\\+-?[0-9]+\\.[0-9][0-9][0-9][0-9][0-9][0-9][0-9][0-9][0-9] [^\n]*\n" ""
  untimed "${decoded}")
if(NOT untimed STREQUAL "")
  message(FATAL_ERROR "decoded lines without their time:\n${untimed}")
endif()

# Without RLFILE no binary trace is written.
execute_process(COMMAND ${QUILL} run ${scenario}
  WORKING_DIRECTORY ${emptyDir} OUTPUT_VARIABLE out RESULT_VARIABLE status)
file(GLOB leftovers ${emptyDir}/*)
if(NOT status EQUAL 0 OR leftovers)
  message(FATAL_ERROR "quill run without RLFILE: status ${status}, files: ${leftovers}")
endif()
