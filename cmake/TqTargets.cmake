# SPDX-FileCopyrightText: 2026 The NodeDB authors
# SPDX-License-Identifier: MIT
include(CMakePackageConfigHelpers)
include(GenerateExportHeader)

set(TQ_GENERATED_DIR "${PROJECT_BINARY_DIR}/generated")

# What every target of the house gets.
function(tq_set_policy target)
  tq_set_warnings(${target})
  tq_set_sanitizers(${target})
endfunction()

# tq_add_library(NAME BASE_DIR <include root> SOURCES … HEADERS … LINK … [LINK_PRIVATE …])
# A shared library tq::NAME with hidden visibility, installed with its HEADERS. Headers ending in _p.h belong into
# SOURCES: they are never installed.
function(tq_add_library name)
  cmake_parse_arguments(ARG "" "BASE_DIR" "SOURCES;HEADERS;LINK;LINK_PRIVATE" ${ARGN})
  add_library(${name} SHARED)
  add_library(tq::${name} ALIAS ${name})
  string(REPLACE "nodedb-nodedb" "nodedb" output "nodedb-${name}")
  set(export_header "${TQ_GENERATED_DIR}/${name}/${name}_export.h")
  generate_export_header(${name} BASE_NAME ${name} EXPORT_FILE_NAME "${export_header}")
  target_sources(${name}
    PRIVATE ${ARG_SOURCES}
    PUBLIC FILE_SET HEADERS BASE_DIRS "${ARG_BASE_DIR}" "${TQ_GENERATED_DIR}"
           FILES ${ARG_HEADERS} "${export_header}")
  target_link_libraries(${name} PUBLIC ${ARG_LINK} PRIVATE ${ARG_LINK_PRIVATE})
  target_compile_features(${name} PUBLIC cxx_std_20)
  if(NODEDB_BUILD_TESTS)
    target_compile_definitions(${name} PUBLIC $<BUILD_INTERFACE:NODEDB_EXPORT_FOR_TESTS>)
  endif()
  set_target_properties(${name} PROPERTIES OUTPUT_NAME ${output} VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR} INSTALL_RPATH "$ORIGIN")
  tq_set_policy(${name})
  install(TARGETS ${name} EXPORT NodeDBTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/nodedb)
endfunction()

# tq_add_plugin(NAME [FOLDER name] SOURCES … LINK …): a loadable component, put where the programs look for it. A
# component with a FOLDER lies in one beside the others: only who asks for that folder loads it.
function(tq_add_plugin name)
  cmake_parse_arguments(ARG "EXAMPLE" "FOLDER" "SOURCES;LINK" ${ARGN})
  add_library(${name} MODULE ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE tq::nodedb ${ARG_LINK})
  set(folder "${NODEDB_PLUGIN_DIR}")
  if(ARG_FOLDER)
    string(APPEND folder "/${ARG_FOLDER}")
  elseif(ARG_EXAMPLE)
    set(folder "examples/plugins")
  endif()
  if(NOT ARG_EXAMPLE)
    install(TARGETS ${name} LIBRARY DESTINATION "${folder}")
  endif()
  string(REGEX REPLACE "[^/]+" ".." up "${folder}")
  set_target_properties(${name} PROPERTIES LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/${folder}"
    INSTALL_RPATH "$ORIGIN/${up}/${CMAKE_INSTALL_LIBDIR}")
  tq_set_policy(${name})
endfunction()

# tq_add_program(NAME SOURCES … LINK …)
function(tq_add_program name)
  cmake_parse_arguments(ARG "NO_INSTALL" "" "SOURCES;LINK" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_LINK})
  set_target_properties(${name} PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
  tq_set_policy(${name})
  if(NOT ARG_NO_INSTALL)
    install(TARGETS ${name} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  endif()
endfunction()

# tq_add_test(NAME SOURCES … LINK … [TIMEOUT s]): one Qt Test program, registered with ctest.
function(tq_add_test name)
  cmake_parse_arguments(ARG "" "TIMEOUT" "SOURCES;LINK" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  if(NODEDB_SANITIZE MATCHES "thread")
    target_link_libraries(${name} PRIVATE tsanshim)
  endif()
  target_link_libraries(${name} PRIVATE ${ARG_LINK} tstshared Qt6::Test)
  tq_set_policy(${name})
  add_test(NAME ${name} COMMAND ${name})
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 120)
  endif()
  set_tests_properties(${name} PROPERTIES TIMEOUT ${ARG_TIMEOUT}
    ENVIRONMENT "QT_QPA_PLATFORM=offscreen;${TQ_TEST_ENVIRONMENT}")
endfunction()

# The package that find_package(NodeDB) finds.
function(tq_install_package)
  set(folder "${CMAKE_INSTALL_LIBDIR}/cmake/NodeDB")
  configure_package_config_file(cmake/NodeDBConfig.cmake.in NodeDBConfig.cmake
    INSTALL_DESTINATION ${folder})
  write_basic_package_version_file(NodeDBConfigVersion.cmake COMPATIBILITY SameMinorVersion)
  install(EXPORT NodeDBTargets NAMESPACE tq:: DESTINATION ${folder})
  install(FILES "${PROJECT_BINARY_DIR}/NodeDBConfig.cmake"
    "${PROJECT_BINARY_DIR}/NodeDBConfigVersion.cmake" DESTINATION ${folder})
endfunction()
