# The lVrexClient library is made of three parts, one per folder: the
# contract classes (contracts/), the data helpers (data/) and the client
# (client/). Each folder compiles its part with vrex_add_library_part() and
# adds its include folders to the part's <part>_headers; vrex_link_library()
# then makes the one shared library of the parts.
#
# A part sees its own headers and those of the parts below it, nothing else:
# data including a client header, or contracts a data header, fails to
# compile.

include(GenerateExportHeader)

# What every part compiles against: C++17, protobuf, the sanitizers and the
# headers made while configuring (vrex/Export.h, see vrex_link_library). The
# installed package has one include folder of its own.
add_library(vrex_library_base INTERFACE)
target_compile_features(vrex_library_base INTERFACE cxx_std_17)
target_link_libraries(vrex_library_base INTERFACE protobuf::libprotobuf vrex_sanitizers)
set(VREX_GENERATED_INCLUDE_DIR "${PROJECT_BINARY_DIR}/include")
target_include_directories(vrex_library_base INTERFACE
  $<BUILD_INTERFACE:${VREX_GENERATED_INCLUDE_DIR}>)

# vrex_add_library_part(<name> [ABOVE <lower part>] <sources>...)
# Compiles one part of the library. Only what carries VREX_EXPORT is visible
# to applications: the contract classes, the established functions and the
# public vrex API. Everything else, the gateway token first, stays inside.
function(vrex_add_library_part name)
  cmake_parse_arguments(arg "" "ABOVE" "" ${ARGN})
  add_library(${name}_headers INTERFACE)
  if(arg_ABOVE)
    target_link_libraries(${name}_headers INTERFACE ${arg_ABOVE}_headers)
  else()
    target_link_libraries(${name}_headers INTERFACE vrex_library_base)
  endif()
  add_library(${name} OBJECT ${arg_UNPARSED_ARGUMENTS})
  set_target_properties(${name} PROPERTIES
    POSITION_INDEPENDENT_CODE ON
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)
  target_compile_definitions(${name} PRIVATE lVrexClient_EXPORTS)
  target_link_libraries(${name} PUBLIC ${name}_headers)
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
  list(TRANSFORM parts REPLACE "^(.+)$" "$<BUILD_INTERFACE:\\1_headers>"
       OUTPUT_VARIABLE part_headers)
  target_link_libraries(lVrexClient PUBLIC ${part_headers} protobuf::libprotobuf)
  target_include_directories(lVrexClient INTERFACE
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/lVrexClient>)
endfunction()
