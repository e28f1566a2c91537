# Installs the library, its headers and schema files, a CMake package, a
# pkg-config file and the programs (VREX_INSTALL). All headers go into one
# folder.
include(CMakePackageConfigHelpers)

set(vrex_header_dir ${CMAKE_INSTALL_INCLUDEDIR}/lVrexClient)
install(DIRECTORY "${PROJECT_BINARY_DIR}/contracts/generated/"
  DESTINATION ${vrex_header_dir} COMPONENT Development FILES_MATCHING PATTERN "*.pb.h")
install(DIRECTORY "${PROJECT_SOURCE_DIR}/contracts/"
  DESTINATION ${CMAKE_INSTALL_DATADIR}/lVrexClient/contracts COMPONENT Development
  FILES_MATCHING PATTERN "*.proto")
install(DIRECTORY
    "${PROJECT_SOURCE_DIR}/data/include/"
    "${PROJECT_SOURCE_DIR}/client/include/"
    "${PROJECT_BINARY_DIR}/client/include/"  # vrex/Contracts.h
    "${VREX_GENERATED_INCLUDE_DIR}/"  # vrex/Export.h
  DESTINATION ${vrex_header_dir} COMPONENT Development)
foreach(program IN ITEMS vrex vrex-stub)
  if(TARGET ${program})
    install(TARGETS ${program} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT Runtime)
  endif()
endforeach()

install(TARGETS lVrexClient
  EXPORT lVrexClientTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Runtime
    NAMELINK_COMPONENT Development
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT Runtime
  INCLUDES DESTINATION ${vrex_header_dir})

set(VREX_CMAKE_INSTALL_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/lVrexClient)
install(EXPORT lVrexClientTargets
  NAMESPACE lVrexClient::
  DESTINATION ${VREX_CMAKE_INSTALL_DIR}
  COMPONENT Development)

string(REGEX MATCH "^[0-9]+\\.[0-9]+" VREX_PROTOBUF_SERIES "${Protobuf_VERSION}")
configure_package_config_file(
  "${CMAKE_CURRENT_LIST_DIR}/lVrexClientConfig.cmake.in"
  "${CMAKE_CURRENT_BINARY_DIR}/lVrexClientConfig.cmake"
  INSTALL_DESTINATION ${VREX_CMAKE_INSTALL_DIR})
write_basic_package_version_file(
  "${CMAKE_CURRENT_BINARY_DIR}/lVrexClientConfigVersion.cmake"
  COMPATIBILITY SameMajorVersion)
install(FILES
  "${CMAKE_CURRENT_BINARY_DIR}/lVrexClientConfig.cmake"
  "${CMAKE_CURRENT_BINARY_DIR}/lVrexClientConfigVersion.cmake"
  DESTINATION ${VREX_CMAKE_INSTALL_DIR}
  COMPONENT Development)

# The prefix is written relative to the .pc file so an installed tree can move.
file(RELATIVE_PATH VREX_PC_TO_PREFIX
  "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
string(REGEX REPLACE "/$" "" VREX_PC_TO_PREFIX "${VREX_PC_TO_PREFIX}")
configure_file("${CMAKE_CURRENT_LIST_DIR}/lVrexClient.pc.in"
  "${CMAKE_CURRENT_BINARY_DIR}/lVrexClient.pc" @ONLY)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/lVrexClient.pc"
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
  COMPONENT Development)
