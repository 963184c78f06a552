# Runs a scenario whose output is Graphviz graphs only and renders them all with dot (which reads
# several graphs from one input), which must accept every one without a complaint. Arguments (-D):
#   QUILL     the program
#   WORKDIR   where it runs
#   SCENARIO  the scenario, relative to WORKDIR
#   ACTUAL    prefix of the files the graphs and the rendering are written to
cmake_minimum_required(VERSION 3.22)

find_program(DOT dot)
if(NOT DOT)
  message(FATAL_ERROR "Graphviz's dot is missing; run scripts/setup as root")
endif()
get_filename_component(actualDir ${ACTUAL} DIRECTORY)
file(MAKE_DIRECTORY ${actualDir})
execute_process(COMMAND ${QUILL} run ${SCENARIO} WORKING_DIRECTORY ${WORKDIR}
  OUTPUT_FILE ${ACTUAL}.dot RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "quill run ${SCENARIO}: exit status ${status}")
endif()
file(STRINGS ${ACTUAL}.dot heads REGEX "^digraph ")
list(LENGTH heads count)
if(count EQUAL 0)
  message(FATAL_ERROR "quill run ${SCENARIO} printed no graph")
endif()
execute_process(COMMAND ${DOT} -Tsvg -o ${ACTUAL}.svg ${ACTUAL}.dot
  RESULT_VARIABLE rendered ERROR_VARIABLE complaint)
if(NOT rendered EQUAL 0 OR NOT complaint STREQUAL "")
  message(FATAL_ERROR "dot rejected ${ACTUAL}.dot:\n${complaint}")
endif()
message(STATUS "${count} graphs rendered")
