# Installs Quill to a scratch prefix and builds examples/embedding against that prefix alone, once
# through the CMake package and once through pkg-config; each program must print EXPECTED.
#
#   cmake -DBUILD_DIR=... -DSOURCE_DIR=... -DWORK=... -DEXPECTED=... -DCXX=... -DGENERATOR=...
#         -DMAKE_PROGRAM=... [-DLAUNCHER=...] [-DSANITIZE_FLAGS=a|b] [-DDEFINITIONS=a|b]
#         -P EmbeddingTest.cmake
#
# DEFINITIONS are the ones Quill was built with, which consumers must be compiled with too.
cmake_minimum_required(VERSION 3.22)
foreach(var BUILD_DIR SOURCE_DIR WORK EXPECTED CXX GENERATOR MAKE_PROGRAM)
  if(NOT DEFINED ${var})
    message(FATAL_ERROR "EmbeddingTest: ${var} is not set")
  endif()
endforeach()
string(REPLACE "|" ";" SANITIZE_FLAGS "${SANITIZE_FLAGS}")
string(REPLACE "|" ";" DEFINITIONS "${DEFINITIONS}")
set(prefix ${WORK}/prefix)

function(run what)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE out)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "EmbeddingTest: ${what} failed (${status}):\n${out}")
  endif()
endfunction()

file(REMOVE_RECURSE ${WORK})
run("cmake --install" ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})

# Installed headers include each other by paths relative to include/quill; each must be there.
file(GLOB_RECURSE headers RELATIVE ${prefix}/include/quill ${prefix}/include/quill/*.h)
if(NOT headers)
  message(FATAL_ERROR "EmbeddingTest: no header under ${prefix}/include/quill")
endif()
foreach(header ${headers})
  file(STRINGS ${prefix}/include/quill/${header} includes REGEX "^#include \"")
  foreach(line ${includes})
    string(REGEX REPLACE "^#include \"([^\"]+)\".*" "\\1" included "${line}")
    if(NOT EXISTS ${prefix}/include/quill/${included})
      message(FATAL_ERROR "EmbeddingTest: ${header} includes ${included}, which is not installed")
    endif()
  endforeach()
endforeach()

# Versioned shared objects: the SONAME link and the development link lead to the real file.
foreach(library quill quill_platform)
  file(GLOB_RECURSE sonames ${prefix}/*/lib${library}.so.*.*)
  list(FILTER sonames EXCLUDE REGEX "\\.so\\.[0-9]+\\.[0-9]+\\.[0-9]+$")
  list(LENGTH sonames count)
  if(NOT count EQUAL 1)
    message(FATAL_ERROR "EmbeddingTest: expected one SONAME link of lib${library}, found '${sonames}'")
  endif()
endforeach()

# The definitions reach both kinds of consumer.
file(GLOB_RECURSE targets_file ${prefix}/*/QuillTargets.cmake)
file(GLOB_RECURSE pc_file ${prefix}/*/pkgconfig/quill.pc)
if(NOT targets_file OR NOT pc_file)
  message(FATAL_ERROR "EmbeddingTest: QuillTargets.cmake or quill.pc is not installed")
endif()
file(READ ${targets_file} targets)
file(READ ${pc_file} pc)
foreach(definition ${DEFINITIONS})
  if(NOT targets MATCHES "INTERFACE_COMPILE_DEFINITIONS \"[^\"]*${definition}" OR
     NOT pc MATCHES "Cflags:[^\n]*-D${definition}")
    message(FATAL_ERROR "EmbeddingTest: ${definition} is missing from the CMake package or quill.pc")
  endif()
endforeach()

# The example's own copy, so that nothing of the source tree is beside it.
file(COPY ${SOURCE_DIR}/examples/embedding/ DESTINATION ${WORK}/src)

function(check_output program)
  execute_process(COMMAND ${program} RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
  file(READ ${EXPECTED} expected)
  if(NOT status EQUAL 0 OR NOT out STREQUAL expected)
    message(FATAL_ERROR "EmbeddingTest: ${program} exited with ${status}, printed:\n${out}"
                        "standard error:\n${err}\nexpected:\n${expected}")
  endif()
endfunction()

# 1. find_package(Quill CONFIG), with every system location switched off (hence the build tool
#    and the compiler given by their paths).
list(JOIN SANITIZE_FLAGS " " flags)
set(configure ${CMAKE_COMMAND} -S ${WORK}/src -B ${WORK}/build -G ${GENERATOR}
  -DCMAKE_MAKE_PROGRAM=${MAKE_PROGRAM} -DCMAKE_CXX_COMPILER=${CXX} -DCMAKE_PREFIX_PATH=${prefix}
  -DCMAKE_FIND_USE_CMAKE_SYSTEM_PATH=OFF -DCMAKE_FIND_USE_SYSTEM_ENVIRONMENT_PATH=OFF
  -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF -DCMAKE_EXPORT_COMPILE_COMMANDS=ON
  "-DCMAKE_CXX_FLAGS=${flags}" "-DCMAKE_EXE_LINKER_FLAGS=${flags}")
if(LAUNCHER)
  list(APPEND configure -DCMAKE_CXX_COMPILER_LAUNCHER=${LAUNCHER})
endif()
run("configuring the example" ${configure})
run("building the example" ${CMAKE_COMMAND} --build ${WORK}/build)
file(STRINGS ${WORK}/build/CMakeCache.txt quill_dir REGEX "^Quill_DIR:")
if(NOT quill_dir MATCHES "=${prefix}/")
  message(FATAL_ERROR "EmbeddingTest: the example found Quill elsewhere: ${quill_dir}")
endif()
# Every include path it compiles with is the prefix's.
file(READ ${WORK}/build/compile_commands.json commands)
string(REGEX MATCHALL "(-I|-isystem )[^ \"]+" include_flags "${commands}")
if(NOT include_flags)
  message(FATAL_ERROR "EmbeddingTest: no include path in ${commands}")
endif()
foreach(flag ${include_flags})
  if(NOT flag MATCHES "^(-I|-isystem )${prefix}/")
    message(FATAL_ERROR "EmbeddingTest: the example compiles with ${flag}, outside ${prefix}")
  endif()
endforeach()
check_output(${WORK}/build/quill_embedding)

# 2. pkg-config, looking at the scratch prefix only.
find_program(PKG_CONFIG pkg-config)
if(NOT PKG_CONFIG)
  message(FATAL_ERROR "EmbeddingTest: needs pkg-config (scripts/setup installs pkgconf)")
endif()
get_filename_component(pc_dir ${pc_file} DIRECTORY)
set(ENV{PKG_CONFIG_LIBDIR} ${pc_dir})
set(ENV{PKG_CONFIG_PATH} "")
execute_process(COMMAND ${PKG_CONFIG} --cflags --libs quill RESULT_VARIABLE status
  OUTPUT_VARIABLE pc_flags OUTPUT_STRIP_TRAILING_WHITESPACE)
execute_process(COMMAND ${PKG_CONFIG} --variable=libdir quill
  OUTPUT_VARIABLE libdir OUTPUT_STRIP_TRAILING_WHITESPACE)
if(NOT status EQUAL 0 OR NOT libdir MATCHES "^${prefix}/")
  message(FATAL_ERROR "EmbeddingTest: pkg-config quill gave '${pc_flags}', libdir '${libdir}'")
endif()
separate_arguments(pc_flags UNIX_COMMAND "${pc_flags}")
run("compiling the example with pkg-config's flags" ${LAUNCHER} ${CXX} -std=c++20
  ${SANITIZE_FLAGS} ${WORK}/src/main.cpp ${pc_flags} -Wl,-rpath,${libdir}
  -o ${WORK}/quill_embedding_pc)
check_output(${WORK}/quill_embedding_pc)
