# The build that counts which lines are run, see scripts/coverage.sh. Only shipped code is counted.
if(CMAKE_HOST_WIN32)
  set(prefix "")
else()
  # Wine shows the build machine's file system as drive Z.
  set(prefix "Z:")
endif()
add_library(orva_coverage STATIC ${CMAKE_SOURCE_DIR}/tests/support/coverage_counters.cpp)
target_compile_definitions(
  orva_coverage PRIVATE ORVA_COVERAGE_PREFIX="${prefix}"
                        ORVA_COVERAGE_LOCK="${prefix}${CMAKE_BINARY_DIR}/counters.lock")
target_link_libraries(orva_build_options INTERFACE orva_coverage)
target_link_options(orva_build_options INTERFACE --coverage -Wl,--wrap=__imp_TerminateProcess
                    -Wl,--undefined=orvaCoverageCounters)

# orva_count_lines(FOLDER...): in all targets of these folders.
function(orva_count_lines)
  foreach(folder IN LISTS ARGN)
    get_property(targets DIRECTORY ${CMAKE_SOURCE_DIR}/${folder} PROPERTY BUILDSYSTEM_TARGETS)
    foreach(target IN LISTS targets)
      get_target_property(type ${target} TYPE)
      if(type MATCHES "LIBRARY|EXECUTABLE" AND NOT type STREQUAL "INTERFACE_LIBRARY")
        target_compile_options(
          ${target} PRIVATE $<$<COMPILE_LANGUAGE:CXX>:--coverage;-fprofile-abs-path>
                            # Threads count at the same time.
                            $<$<COMPILE_LANGUAGE:CXX>:-fprofile-update=atomic>)
      endif()
    endforeach()
  endforeach()
endfunction()
