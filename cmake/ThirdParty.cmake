# Libraries for tests and tools, from the distribution's packages. The service itself links none.
#
# /usr/include must never be on the cross include path: the C library's headers there would shadow
# MinGW's. Header-only packages are exposed one folder at a time through links in the build tree.
function(orva_expose_headers target folder)
  set(exposed ${CMAKE_BINARY_DIR}/third_party/${target})
  if(NOT EXISTS /usr/include/${folder})
    message(FATAL_ERROR "/usr/include/${folder} is missing: run scripts/setup.sh")
  endif()
  file(MAKE_DIRECTORY ${exposed})
  file(CREATE_LINK /usr/include/${folder} ${exposed}/${folder} SYMBOLIC)
  add_library(${target} INTERFACE)
  target_include_directories(${target} SYSTEM INTERFACE ${exposed})
endfunction()

if(CMAKE_HOST_WIN32)
  # There they come from a package manager that CMake knows how to ask.
  find_package(CLI11 CONFIG REQUIRED)
  add_library(orva_cli11 INTERFACE)
  target_link_libraries(orva_cli11 INTERFACE CLI11::CLI11)
  find_package(nlohmann_json CONFIG REQUIRED)
  add_library(orva_nlohmann_json INTERFACE)
  target_link_libraries(orva_nlohmann_json INTERFACE nlohmann_json::nlohmann_json)
  if(ORVA_BUILD_TESTS)
    find_package(GTest CONFIG REQUIRED)
    add_library(gtest ALIAS GTest::gtest)
    add_library(gmock ALIAS GTest::gmock)
  endif()
  return()
endif()

orva_expose_headers(orva_cli11 CLI)
orva_expose_headers(orva_nlohmann_json nlohmann)

if(ORVA_BUILD_TESTS)
  if(NOT EXISTS /usr/src/googletest/CMakeLists.txt)
    message(FATAL_ERROR "the sources of googletest are missing: run scripts/setup.sh")
  endif()
  set(INSTALL_GTEST OFF)
  block()
    # Quicker to build, and quick enough.
    foreach(flags IN ITEMS CMAKE_CXX_FLAGS CMAKE_CXX_FLAGS_RELEASE)
      string(REPLACE "-O2" "-O0" ${flags} "${${flags}}")
    endforeach()
    add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
  endblock()
endif()
