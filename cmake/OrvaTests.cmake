# orva_add_tests(NAME <target>
#                SOURCES <file>...
#                [ALONE <file>...]           of these, those that are not compiled with others
#                [LIBRARIES <target>...]     linked besides orva_test_support
#                [LABELS <label>...]         inprocess (default) or system, and any others
#                [TIMEOUT <seconds>]         a test; default 60, and 120 for system tests
#                [RESOURCE_LOCK <name>...]   tests that share a name never run side by side
#                [ENVIRONMENT <VAR=value>...]
#                [GUARDED]                   also link <target>_guarded
#                [GUARDED_SOURCES <file>...]) only in <target>_guarded
#
# Makes the GoogleTest executable <target> in bin/tests, out of the way of the shipped layout, and
# makes each of its tests a test of ctest, in a process of its own. The executable gets a main
# function from orva_test_support; do not link gtest_main.
#
# System tests drive the one installed service of a Windows installation, so all of them share a
# resource lock.
#
# GUARDED links the same objects a second time with every heap block ending at an inaccessible page
# (tests/support/guard_page_allocator.cpp). Its tests are called guarded.<name> and have the
# label "guarded" too. The build that traps on undefined behaviour goes without: each of the two finds
# what it finds. So does the one that counts lines: they are the same.
include(GoogleTest)

function(orva_add_tests)
  cmake_parse_arguments(PARSE_ARGV 0 arg "GUARDED" "NAME;TIMEOUT"
                        "SOURCES;ALONE;GUARDED_SOURCES;LIBRARIES;LABELS;RESOURCE_LOCK;ENVIRONMENT")
  if(arg_UNPARSED_ARGUMENTS OR NOT arg_NAME OR NOT arg_SOURCES)
    message(FATAL_ERROR "orva_add_tests: NAME and SOURCES are needed; "
                        "not understood: ${arg_UNPARSED_ARGUMENTS}")
  endif()
  if(NOT "inprocess" IN_LIST arg_LABELS AND NOT "system" IN_LIST arg_LABELS)
    list(PREPEND arg_LABELS inprocess)
  endif()
  if("system" IN_LIST arg_LABELS)
    list(APPEND arg_RESOURCE_LOCK orva_installed_service)
  endif()
  if(NOT arg_TIMEOUT)
    if("system" IN_LIST arg_LABELS)
      set(arg_TIMEOUT 120)
    else()
      set(arg_TIMEOUT 60)
    endif()
  endif()

  add_library(${arg_NAME}_objects OBJECT ${arg_SOURCES})
  target_link_libraries(${arg_NAME}_objects PRIVATE ${arg_LIBRARIES} orva_test_support)
  target_precompile_headers(${arg_NAME}_objects REUSE_FROM orva_test_precompiled)
  # Several files at once: most of the time goes into what they have in common.
  set_target_properties(${arg_NAME}_objects PROPERTIES UNITY_BUILD ${ORVA_UNITY_BUILD}
                                                       UNITY_BUILD_BATCH_SIZE 8)
  if(arg_ALONE)
    set_source_files_properties(${arg_ALONE} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
  endif()
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # GCC forgets of precompiled headers that they are the system's, and then warns of code of the
    # standard library that it has inlined.
    target_compile_options(${arg_NAME}_objects PRIVATE -Wno-array-bounds -Wno-stringop-overflow
                                                       -Wno-stringop-overread)
  endif()
  orva_add_test_executable(${arg_NAME} "" "${arg_LABELS}")
  if(arg_GUARDED AND NOT ORVA_TRAP_UNDEFINED AND NOT ORVA_COVERAGE)
    orva_add_test_executable(${arg_NAME}_guarded "guarded." "${arg_LABELS};guarded"
                             ${arg_GUARDED_SOURCES})
    target_link_libraries(${arg_NAME}_guarded PRIVATE orva_guard_page_allocator)
  endif()
endfunction()

# Uses the parsed arguments of orva_add_tests.
function(orva_add_test_executable target prefix labels)
  add_executable(${target} ${ARGN})
  target_link_libraries(${target} PRIVATE ${arg_NAME}_objects ${arg_LIBRARIES} orva_test_support
                                          orva_test_main)
  set_target_properties(${target} PROPERTIES LINKER_LANGUAGE CXX RUNTIME_OUTPUT_DIRECTORY
                                             ${CMAKE_BINARY_DIR}/bin/tests)
  gtest_discover_tests(
    ${target}
    TEST_PREFIX "${prefix}"
    # Printed parameters would make names of addresses, which change from run to run.
    NO_PRETTY_VALUES
    DISCOVERY_MODE PRE_TEST
    DISCOVERY_TIMEOUT 60
    PROPERTIES TIMEOUT ${arg_TIMEOUT})

  # gtest_discover_tests cannot pass on properties that are lists, so those are set by a file that
  # ctest reads after the tests are known.
  set(file ${CMAKE_CURRENT_BINARY_DIR}/${target}_properties.cmake)
  set(content "if(${target}_TESTS)\n")
  foreach(property IN ITEMS LABELS RESOURCE_LOCK ENVIRONMENT)
    if(property STREQUAL "LABELS")
      set(value "${labels}")
    else()
      set(value "${arg_${property}}")
    endif()
    if(value)
      string(APPEND content
             "  set_tests_properties(\${${target}_TESTS} PROPERTIES ${property} [==[${value}]==])\n")
    endif()
  endforeach()
  string(APPEND content "endif()\n")
  file(CONFIGURE OUTPUT ${file} CONTENT "${content}" @ONLY)
  set_property(
    DIRECTORY
    APPEND
    PROPERTY TEST_INCLUDE_FILES ${file})
endfunction()
