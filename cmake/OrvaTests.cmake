# orva_add_tests(NAME <target>
#                SOURCES <file>...
#                [ALONE <file>...]           of these, those that are not compiled with others
#                [LIBRARIES <target>...]     linked besides orva_test_support
#                [LABELS <label>...]         inprocess (default), shipped, system or realtime, and any others
#                [TIMEOUT <seconds>]         a test of ctest; default 60, and 120 for system tests
#                [RESOURCE_LOCK <name>...]   tests that share a name never run side by side
#                [FIXTURES_REQUIRED <name>...] tests that others prepare, as ctest means it
#                [ENVIRONMENT <VAR=value>...]
#                [SHARED_PROCESS ALL | <suite>...] each of these suites is one test of ctest, in one process
#                [OWN_PROCESS <suite>...]    of ALL, those whose tests have a process each all the same
#                [OWN_HEAP]                  never on the guarded heap: replaces operator new itself
#                [FIRST])                    takes long, so it begins early
#
# Makes the GoogleTest executable <target> in bin/tests, out of the way of the shipped layout, and its
# tests known to ctest. The executable gets a main function from orva_test_support; do not link
# gtest_main.
#
# A test is a test of ctest, named Suite.Test, in a process of its own. In a SHARED_PROCESS a whole
# suite is, named Suite; the log tells of its tests one by one. That is for tests that leave nothing
# behind in their process that others would notice: no thread, no server, no static state.
#
# Each test of ctest has a Windows installation to itself while it runs, see scripts/wine.sh.
#
# The build "checked" makes and runs the tests inprocess, with every heap block ending at an
# inaccessible page (tests/support/guard_page_allocator.cpp). The release build makes what is shipped,
# and the tests that drive that, which are labelled shipped or system; any other one when its target
# is asked for. The build that counts lines makes them all.
function(orva_add_tests)
  cmake_parse_arguments(
    PARSE_ARGV 0 arg "OWN_HEAP;FIRST" "NAME;TIMEOUT"
    "SOURCES;ALONE;LIBRARIES;LABELS;RESOURCE_LOCK;FIXTURES_REQUIRED;ENVIRONMENT;SHARED_PROCESS;OWN_PROCESS")
  if(arg_UNPARSED_ARGUMENTS OR NOT arg_NAME OR NOT arg_SOURCES)
    message(FATAL_ERROR "orva_add_tests: NAME and SOURCES are needed; "
                        "not understood: ${arg_UNPARSED_ARGUMENTS}")
  endif()
  if(NOT arg_LABELS MATCHES "(^|;)(inprocess|shipped|system|realtime)(;|$)")
    list(PREPEND arg_LABELS inprocess)
  endif()
  if(NOT arg_TIMEOUT)
    set(arg_TIMEOUT 60)
    if(arg_SHARED_PROCESS OR "system" IN_LIST arg_LABELS)
      set(arg_TIMEOUT 120)
    endif()
  endif()

  add_executable(${arg_NAME} ${arg_SOURCES})
  target_link_libraries(${arg_NAME} PRIVATE ${arg_LIBRARIES} orva_test_support orva_test_main)
  target_precompile_headers(${arg_NAME} REUSE_FROM orva_test_precompiled)
  # Several files at once: most of the time goes into what they have in common.
  set_target_properties(
    ${arg_NAME}
    PROPERTIES UNITY_BUILD ${ORVA_UNITY_BUILD}
               UNITY_BUILD_BATCH_SIZE 8
               LINKER_LANGUAGE CXX
               RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin/tests)
  if(arg_ALONE)
    set_source_files_properties(${arg_ALONE} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
  endif()
  if(ORVA_CHECKED AND NOT arg_OWN_HEAP)
    target_link_libraries(${arg_NAME} PRIVATE orva_guard_page_allocator)
  endif()
  if(NOT "inprocess" IN_LIST arg_LABELS)
    # Its folder may be left out of the release build.
    set_target_properties(${arg_NAME} PROPERTIES EXCLUDE_FROM_ALL OFF)
  endif()
  orva_tell_ctest()
endfunction()

# Uses the parsed arguments of orva_add_tests. ctest itself asks the program for its tests, once it is
# built.
function(orva_tell_ctest)
  set(program ${CMAKE_BINARY_DIR}/bin/tests/${arg_NAME}${CMAKE_EXECUTABLE_SUFFIX})
  get_target_property(emulator ${arg_NAME} CROSSCOMPILING_EMULATOR)
  if(NOT emulator)
    set(emulator "")
  endif()
  set(properties TIMEOUT ${arg_TIMEOUT} WORKING_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR})
  if(arg_FIRST)
    list(APPEND properties COST 1000)
  endif()
  if("realtime" IN_LIST arg_LABELS)
    list(APPEND properties RUN_SERIAL TRUE)
  endif()
  set(lists)
  foreach(property IN ITEMS LABELS RESOURCE_LOCK FIXTURES_REQUIRED ENVIRONMENT)
    if(arg_${property})
      list(APPEND lists ${property})
    endif()
  endforeach()

  set(content "")
  foreach(name IN ITEMS program emulator properties lists)
    string(APPEND content "set(${name} [==[${${name}}]==])\n")
  endforeach()
  foreach(name IN ITEMS SHARED_PROCESS OWN_PROCESS LABELS RESOURCE_LOCK FIXTURES_REQUIRED
                   ENVIRONMENT)
    string(APPEND content "set(${name} [==[${arg_${name}}]==])\n")
  endforeach()
  string(APPEND content "include([==[${CMAKE_SOURCE_DIR}/cmake/FindTestsOfProgram.cmake]==])\n")
  set(file ${CMAKE_CURRENT_BINARY_DIR}/${arg_NAME}_tests.cmake)
  file(CONFIGURE OUTPUT ${file} CONTENT "${content}" @ONLY)
  set_property(
    DIRECTORY
    APPEND
    PROPERTY TEST_INCLUDE_FILES ${file})
endfunction()
