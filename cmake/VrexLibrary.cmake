# The lVrexClient library is made of three parts, one per folder: the
# contract classes (contracts/), the data helpers (data/) and the client
# (client/). Each folder compiles its part with vrex_add_library_part() and
# adds the include folders applications need to vrex_library_interface;
# vrex_link_library() then makes the one shared library of the parts.

include(GenerateExportHeader)

# What the parts compile against and what users of the library see while it
# is built here (the installed package has its own include folder).
add_library(vrex_library_interface INTERFACE)
target_compile_features(vrex_library_interface INTERFACE cxx_std_17)
target_link_libraries(vrex_library_interface INTERFACE protobuf::libprotobuf vrex_sanitizers)

# Headers made while configuring: vrex/Export.h (see vrex_link_library) and
# vrex/Contracts.h (client/).
set(VREX_GENERATED_INCLUDE_DIR "${PROJECT_BINARY_DIR}/include")
target_include_directories(vrex_library_interface INTERFACE
  $<BUILD_INTERFACE:${VREX_GENERATED_INCLUDE_DIR}>)
install(FILES "${VREX_GENERATED_INCLUDE_DIR}/vrex/Export.h"
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/lVrexClient/vrex COMPONENT Development)

# Compiles one part of the library. Only what carries VREX_EXPORT is visible
# to applications: the contract classes, the established functions and the
# public vrex API. Everything else, the gateway token first, stays inside.
function(vrex_add_library_part name)
  add_library(${name} OBJECT ${ARGN})
  set_target_properties(${name} PROPERTIES
    POSITION_INDEPENDENT_CODE ON
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)
  target_compile_definitions(${name} PRIVATE lVrexClient_EXPORTS)
  target_link_libraries(${name} PUBLIC vrex_library_interface)
endfunction()

# The shared library lVrexClient (alias lVrexClient::lVrexClient) of the parts.
function(vrex_link_library)
  set(parts ${ARGN})
  list(TRANSFORM parts REPLACE "^(.+)$" "$<TARGET_OBJECTS:\\1>" OUTPUT_VARIABLE objects)
  add_library(lVrexClient SHARED ${objects})
  add_library(lVrexClient::lVrexClient ALIAS lVrexClient)
  set_target_properties(lVrexClient PROPERTIES
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}
    EXPORT_NAME lVrexClient)
  # VREX_EXPORT marks what applications may use; everything else is hidden
  # (see vrex_add_library_part). Written while configuring, so the parts
  # find it when they compile.
  generate_export_header(lVrexClient
    BASE_NAME vrex
    EXPORT_MACRO_NAME VREX_EXPORT
    EXPORT_FILE_NAME "${VREX_GENERATED_INCLUDE_DIR}/vrex/Export.h")
  foreach(part IN LISTS parts)
    # A part's own link needs (libcurl for the client) go with its objects.
    get_target_property(part_libraries ${part} VREX_LINK_LIBRARIES)
    if(part_libraries)
      target_link_libraries(lVrexClient PRIVATE ${part_libraries})
    endif()
  endforeach()
  target_compile_features(lVrexClient PUBLIC cxx_std_17)
  target_link_libraries(lVrexClient PUBLIC
    $<BUILD_INTERFACE:vrex_library_interface> protobuf::libprotobuf)
  target_include_directories(lVrexClient INTERFACE
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/lVrexClient>)
endfunction()
