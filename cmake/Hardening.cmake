# orva_harden(FOLDER...) is for what players get: all targets of these folders, except in builds that
# have checks of their own.
#
# Frames with an array end in a guard, and library calls do not write beyond an array whose size is
# known; both end the process in win32/overrun_checks.cpp. Images lie anywhere in 64 bits of
# addresses, and nothing is executed that is data, which are the defaults of some linkers only. A
# function that nobody uses is no part of an image.
#
# tests/package/images_test.cpp reads from the images that all this is so. docs/security.md says what
# else there is, and why it is not here.
function(orva_harden)
  if(NOT MINGW OR ORVA_CHECKED OR ORVA_COVERAGE)
    return()
  endif()
  foreach(folder IN LISTS ARGN)
    get_property(targets DIRECTORY ${CMAKE_SOURCE_DIR}/${folder} PROPERTY BUILDSYSTEM_TARGETS)
    foreach(target IN LISTS targets)
      get_target_property(type ${target} TYPE)
      if(type MATCHES "^(STATIC_LIBRARY|SHARED_LIBRARY|OBJECT_LIBRARY|EXECUTABLE)$")
        # No sections for data: this compiler then writes those that are all zeros into the file.
        target_compile_options(
          ${target} PRIVATE $<$<COMPILE_LANGUAGE:C,CXX>:-ffunction-sections>
                            $<$<COMPILE_LANGUAGE:C,CXX>:-fstack-protector-strong>)
        target_compile_definitions(${target} PRIVATE _FORTIFY_SOURCE=2)
        target_link_options(${target} PRIVATE -Wl,--gc-sections -Wl,--dynamicbase
                            -Wl,--high-entropy-va -Wl,--nxcompat)
      endif()
    endforeach()
  endforeach()
endfunction()
