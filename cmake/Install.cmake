# What "cmake --install BUILD --component NAME --prefix FOLDER" puts where.
#
#   client            OrvaClient.dll, for beside a program
#   client-developer  its headers, import library, CMake package and pkg-config file
#   tools             orvactl.exe
#
# The service itself is installed by its installer, see docs/packaging.md.
include(CMakePackageConfigHelpers)

install(
  TARGETS OrvaClient
  EXPORT OrvaClientTargets
  RUNTIME DESTINATION bin COMPONENT client
  ARCHIVE DESTINATION lib COMPONENT client-developer)
install(FILES client/include/orva_client.h client/include/orva_answers.h
        DESTINATION include COMPONENT client-developer)

set(package_folder lib/cmake/OrvaClient)
install(
  EXPORT OrvaClientTargets
  FILE OrvaClientConfig.cmake
  NAMESPACE Orva::
  DESTINATION ${package_folder}
  COMPONENT client-developer)
# A DLL serves every program that was built with the same major and an equal or smaller minor number.
write_basic_package_version_file(${CMAKE_BINARY_DIR}/OrvaClientConfigVersion.cmake
                                 VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/OrvaClientConfigVersion.cmake DESTINATION ${package_folder}
        COMPONENT client-developer)

configure_file(cmake/orva-client.pc.in orva-client.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/orva-client.pc DESTINATION lib/pkgconfig
        COMPONENT client-developer)

install(TARGETS orvactl RUNTIME DESTINATION bin COMPONENT tools)
