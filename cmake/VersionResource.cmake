# orva_add_version_resource(<target> DESCRIPTION <text> [DESCRIPTION_ZH <text>])
#
# Gives an executable or library of ours a version resource and a manifest. The version is the
# project's, the one source of every version number. DESCRIPTION is what Windows shows for the file,
# in the task manager for instance; DESCRIPTION_ZH the same on a Chinese Windows.
#
# The comment says which revision of the sources the file was built from: ORVA_REVISION, which
# scripts/package.sh sets for what is handed out. Other builds are not tied to one: that would link
# everything anew after each commit.
#
# The resources are compiled by themselves, without orva_build_options: those are for C++ compilers,
# and CMake would hand them to the resource compiler too.
set(ORVA_REVISION "development build" CACHE STRING "Revision of the sources, for the version resources")

function(orva_add_version_resource target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "DESCRIPTION;DESCRIPTION_ZH" "")
  if(arg_UNPARSED_ARGUMENTS OR NOT arg_DESCRIPTION)
    message(FATAL_ERROR "orva_add_version_resource: DESCRIPTION is needed; "
                        "not understood: ${arg_UNPARSED_ARGUMENTS}")
  endif()
  if(NOT arg_DESCRIPTION_ZH)
    set(arg_DESCRIPTION_ZH ${arg_DESCRIPTION})
  endif()

  get_target_property(type ${target} TYPE)
  set(name ${target})
  if(type STREQUAL "EXECUTABLE")
    set(file_name ${target}.exe)
    set(file_type VFT_APP)
    set(manifest_id 1) # CREATEPROCESS_MANIFEST_RESOURCE_ID
  else()
    set(file_name ${target}.dll)
    set(file_type VFT_DLL)
    set(manifest_id 2) # ISOLATIONAWARE_MANIFEST_RESOURCE_ID
  endif()
  set(version_numbers
      ${PROJECT_VERSION_MAJOR},${PROJECT_VERSION_MINOR},${PROJECT_VERSION_PATCH},0)
  set(version_four
      ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}.${PROJECT_VERSION_PATCH}.0)

  set(folder ${CMAKE_CURRENT_BINARY_DIR}/${target}_resources)
  set(manifest ${folder}/${target}.manifest)
  configure_file(${CMAKE_SOURCE_DIR}/cmake/program.manifest.in ${manifest} @ONLY)
  configure_file(${CMAKE_SOURCE_DIR}/cmake/version.rc.in ${folder}/${target}.rc @ONLY)

  add_library(${target}_resources OBJECT ${folder}/${target}.rc)
  set_source_files_properties(${folder}/${target}.rc PROPERTIES OBJECT_DEPENDS ${manifest})
  target_sources(${target} PRIVATE $<TARGET_OBJECTS:${target}_resources>)
  if(MSVC)
    # Its linker would add a manifest of its own beside ours.
    target_link_options(${target} PRIVATE /MANIFEST:NO)
  endif()
endfunction()
