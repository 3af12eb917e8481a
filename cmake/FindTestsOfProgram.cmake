# Read by ctest, for each test program: makes tests of what the program lists. orva_tell_ctest
# (OrvaTests.cmake) sets what is used here.
cmake_policy(VERSION 3.25)
if(NOT EXISTS ${program})
  return()
endif()

# Asked only when it has changed.
set(answer ${program}.tests)
if(NOT EXISTS ${answer} OR ${program} IS_NEWER_THAN ${answer})
  execute_process(
    COMMAND ${emulator} ${program} --gtest_list_tests
    OUTPUT_VARIABLE output
    ERROR_VARIABLE output
    RESULT_VARIABLE result
    TIMEOUT 60)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${program} does not list its tests (${result}):\n${output}")
  endif()
  # Behind the names stand parameters, some of them addresses.
  string(REGEX REPLACE "[ \t]*(#[^\n]*)?\r?\n" "\n" output "${output}")
  file(WRITE ${answer} "${output}")
endif()

# The name for people and the name for the program are the same.
macro(orva_tell_of_test name filter)
  add_test(${name} ${emulator} ${program} --gtest_filter=${filter})
  set_tests_properties(${name} PROPERTIES ${properties})
  foreach(property IN LISTS lists)
    set_tests_properties(${name} PROPERTIES ${property} "${${property}}")
  endforeach()
endmacro()

file(STRINGS ${answer} lines)
foreach(line IN LISTS lines)
  if(line MATCHES "^([^ ]+)\\.$")
    set(suite ${CMAKE_MATCH_1})
    # Without what an instantiation adds.
    string(REGEX REPLACE "^.*/([^0-9])|/[0-9]+$" "\\1" plain ${suite})
    set(shared FALSE)
    if(plain IN_LIST SHARED_PROCESS OR ("ALL" IN_LIST SHARED_PROCESS AND NOT plain IN_LIST OWN_PROCESS))
      set(shared TRUE)
      orva_tell_of_test(${suite} ${suite}.*)
    endif()
  elseif(line MATCHES "^  ([^ ]+)$" AND NOT shared)
    orva_tell_of_test(${suite}.${CMAKE_MATCH_1} ${suite}.${CMAKE_MATCH_1})
  endif()
endforeach()
