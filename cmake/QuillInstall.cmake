# What `cmake --install` puts under the prefix, and the Debian package cpack builds from it:
#
#   lib/libquill.so.X.Y.Z, lib/libquill_platform.so.X.Y.Z   with their SONAME and dev symlinks
#   include/quill/{platform,quill}/...                        every header of the two libraries
#   lib/cmake/Quill/                                          find_package(Quill CONFIG): Quill::quill
#   lib/pkgconfig/quill.pc                                    pkg-config --cflags --libs quill
#   bin/quill                                                 the scenario-driven agent
#
# (lib/ is the platform's library directory, lib/x86_64-linux-gnu/ for a /usr prefix on Debian.)
include(CMakePackageConfigHelpers)

set(QUILL_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Quill)

install(TARGETS quill quill_platform EXPORT QuillTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})

# The library's API exposes the platform's types (value types, entities, the framework), so both
# header trees go, keeping the paths the headers include each other by.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/platform ${PROJECT_SOURCE_DIR}/quill
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/quill
  FILES_MATCHING PATTERN "*.h")

install(EXPORT QuillTargets NAMESPACE Quill:: DESTINATION ${QUILL_CMAKE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/QuillConfig.cmake.in
  ${PROJECT_BINARY_DIR}/QuillConfig.cmake INSTALL_DESTINATION ${QUILL_CMAKE_DIR})
# Before 1.0 a minor release may break the API: only the same major.minor is compatible.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/QuillConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/QuillConfig.cmake ${PROJECT_BINARY_DIR}/QuillConfigVersion.cmake
  DESTINATION ${QUILL_CMAKE_DIR})

# pkg-config wants absolute paths, and the prefix is only known when installing (`--prefix`, or
# cpack's /usr), so the file is written then.
set(QUILL_PC_CFLAGS "-I\\\${includedir}/quill")
foreach(definition ${QUILL_PUBLIC_DEFINITIONS})
  string(APPEND QUILL_PC_CFLAGS " -D${definition}")
endforeach()
configure_file(${PROJECT_SOURCE_DIR}/cmake/QuillPkgConfig.cmake.in
  ${PROJECT_BINARY_DIR}/QuillPkgConfig.cmake @ONLY)
install(SCRIPT ${PROJECT_BINARY_DIR}/QuillPkgConfig.cmake)

# The command, found wherever the prefix is: its libraries are in ../lib.
if(TARGET quill_cli)
  file(RELATIVE_PATH QUILL_BIN_TO_LIB /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
  set_target_properties(quill_cli PROPERTIES INSTALL_RPATH "$ORIGIN/${QUILL_BIN_TO_LIB}")
  install(TARGETS quill_cli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

# cpack -G DEB: one package with all of the above under /usr. Its Depends come from the shared
# objects it links (dpkg-shlibdeps, from dpkg-dev): libc, libstdc++, libgcc and readline.
set(CPACK_PACKAGE_NAME quill)
set(CPACK_PACKAGE_VENDOR "The Quill developers")
set(CPACK_PACKAGE_CONTACT "Quill developers <quill@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGE_DESCRIPTION
  "Quill is a C++20 library for the control plane of a network operating system: a chain of
reactors over keyed collections that keeps the MPLS point-to-multipoint label forwarding table
correct as LDP bindings, peer addresses, next hops and MPLS interfaces change. The package holds
the shared libraries, their headers, a CMake package (find_package(Quill)), a pkg-config file
and the quill command.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The headers need a C++20 compiler to be of use; recommended, not required, for the command.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "g++ (>= 4:12)")
# The package ships its own shared objects: dpkg-shlibdeps must find them in the staging tree.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_GENERATOR DEB)
include(CPack)
