# Language level, warnings and platform definitions that every target of ours is built with.
# Third-party code does not link to this target and is not held to our warnings.
add_library(orva_build_options INTERFACE)
target_include_directories(orva_build_options INTERFACE ${CMAKE_SOURCE_DIR})
target_compile_definitions(
  orva_build_options
  INTERFACE UNICODE
            _UNICODE
            WIN32_LEAN_AND_MEAN
            NOMINMAX
            # Windows 10: the oldest system on which the service is offered.
            _WIN32_WINNT=0x0A00)

if(MSVC)
  # As with the other compilers: no runtime DLL is needed on the player's PC.
  set(CMAKE_MSVC_RUNTIME_LIBRARY "MultiThreaded$<$<CONFIG:Debug>:Debug>")
  target_compile_options(orva_build_options INTERFACE /W4 /WX /permissive- /utf-8 /EHsc)
else()
  target_compile_options(
    orva_build_options
    INTERFACE -Wall
              -Wextra
              -Wpedantic
              -Wshadow
              -Wconversion
              -Wsign-conversion
              -Wnon-virtual-dtor
              -Wold-style-cast
              -Wundef
              -Werror
              # Names that belong to the compiler and its library.
              $<$<CXX_COMPILER_ID:Clang>:-Wreserved-identifier>)
  # -O2 rather than CMake's -O3: the service waits for pipes, and size is what a player sees.
  string(REPLACE "-O3" "-O2" CMAKE_CXX_FLAGS_RELEASE "${CMAKE_CXX_FLAGS_RELEASE}")
  string(REPLACE "-O3" "-O2" CMAKE_C_FLAGS_RELEASE "${CMAKE_C_FLAGS_RELEASE}")
endif()

if(MINGW)
  # No time of linking in the file: the same sources give the same bytes.
  target_link_options(orva_build_options INTERFACE -Wl,--no-insert-timestamp)
endif()

if(ORVA_CHECKED)
  target_compile_definitions(orva_build_options INTERFACE _GLIBCXX_ASSERTIONS)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(orva_build_options INTERFACE -fsanitize=undefined
                                                        -fsanitize-undefined-trap-on-error)
  elseif(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    target_compile_options(orva_build_options INTERFACE -fsanitize=undefined
                                                        -fsanitize-trap=undefined)
  endif()
endif()
