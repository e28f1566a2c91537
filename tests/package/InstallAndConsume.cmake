# Script mode: install, then build and run the consumer in two ways.
set(prefix "${WORK_DIR}/prefix")
file(REMOVE_RECURSE "${WORK_DIR}")
file(MAKE_DIRECTORY "${WORK_DIR}")

include("${CMAKE_CURRENT_LIST_DIR}/RunCommand.cmake")

# Installed as the documented steps install it: stripped.
run(${CMAKE_COMMAND} --install "${BUILD_DIR}" --prefix "${prefix}" --strip)

foreach(required IN ITEMS
    "include/lVrexClient/MeasurementQuery.pb.h"
    "include/lVrexClient/VrexClient.h"
    "share/lVrexClient/contracts/bcl.proto"
    "share/lVrexClient/contracts/MeasurementQuery.proto")
  if(NOT EXISTS "${prefix}/${required}")
    message(FATAL_ERROR "The install is missing ${required}")
  endif()
endforeach()
file(GLOB schemas "${prefix}/share/lVrexClient/contracts/*.proto")
list(LENGTH schemas schema_count)
if(NOT schema_count EQUAL 209)
  message(FATAL_ERROR "Installed ${schema_count} schema files instead of 209")
endif()
file(GLOB sonames "${prefix}/lib*/liblVrexClient.so.[0-9]")
if(NOT sonames)
  message(FATAL_ERROR "The installed library has no SONAME link")
endif()

# Applications see the contract classes, the established functions and the
# vrex API; the token and the library's internals are not in its dynamic
# symbol table, so nothing can read or interpose them.
find_program(NM nm REQUIRED)
run(${NM} -DC --defined-only "${sonames}")
set(exported "${last_output}")
foreach(forbidden IN ITEMS gatewayAuthenticationToken "vrex::internal::" "::detail::"
                           CurlHandlePool RetrySchedule BuildEndpointUrl
                           WriteResponseBody)
  string(FIND "${exported}" "${forbidden}" at)
  if(NOT at EQUAL -1)
    message(FATAL_ERROR "The library exports ${forbidden}")
  endif()
endforeach()
foreach(required IN ITEMS "VrexClient::Post(" "VrexClient::CheckVersion(" "vrex::Client::Send("
                          "Korvan::KQ::DataContracts::MeasurementQuery::MeasurementQuery("
                          "vrex::data::ParseGuid(")
  string(FIND "${exported}" "${required}" at)
  if(at EQUAL -1)
    message(FATAL_ERROR "The library does not export ${required}")
  endif()
endforeach()

# Stripped: not even the local symbols name the token's bytes.
execute_process(COMMAND ${NM} -C "${sonames}" OUTPUT_VARIABLE local_symbols ERROR_QUIET)
foreach(forbidden IN ITEMS kTokenBytes gatewayAuthenticationToken)
  string(FIND "${local_symbols}" "${forbidden}" at)
  if(NOT at EQUAL -1)
    message(FATAL_ERROR "The installed library names ${forbidden}: it is not stripped")
  endif()
endforeach()

# 1. find_package(lVrexClient CONFIG)
run(${CMAKE_COMMAND} -S "${CONSUMER_DIR}" -B "${WORK_DIR}/consumer-build"
    -G "${GENERATOR}" -DCMAKE_CXX_COMPILER=${CXX_COMPILER}
    -DCMAKE_PREFIX_PATH=${prefix})
run(${CMAKE_COMMAND} --build "${WORK_DIR}/consumer-build")
run("${WORK_DIR}/consumer-build/vrex_consumer")
if(NOT last_output MATCHES "209 schema files")
  message(FATAL_ERROR "Unexpected consumer output: ${last_output}")
endif()

# 2. pkg-config
find_program(PKG_CONFIG pkg-config REQUIRED)
file(GLOB pc_dirs "${prefix}/lib*/pkgconfig")
set(ENV{PKG_CONFIG_PATH} "${pc_dirs}")
run(${PKG_CONFIG} --cflags --libs lVrexClient)
string(STRIP "${last_output}" flags)
separate_arguments(flags UNIX_COMMAND "${flags}")
run(${CXX_COMPILER} -std=c++17 "${CONSUMER_DIR}/main.cpp" ${flags}
    -o "${WORK_DIR}/pkgconfig-consumer")
file(GLOB libdirs "${prefix}/lib*")
set(ENV{LD_LIBRARY_PATH} "${libdirs}")
run("${WORK_DIR}/pkgconfig-consumer")

# 3. A protobuf of another series is refused by the CMake package with a
# message naming what was found and what is needed.
set(fake_protobuf "${WORK_DIR}/protobuf-4.22/include")
file(WRITE "${fake_protobuf}/google/protobuf/stubs/common.h"
  "#define GOOGLE_PROTOBUF_VERSION 4022000\n")
execute_process(
  COMMAND ${CMAKE_COMMAND} -S "${CONSUMER_DIR}" -B "${WORK_DIR}/mismatch-build"
          -G "${GENERATOR}" -DCMAKE_CXX_COMPILER=${CXX_COMPILER}
          -DCMAKE_PREFIX_PATH=${prefix} -DProtobuf_INCLUDE_DIR=${fake_protobuf}
  RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
string(REGEX REPLACE "[ \n]+" " " output "${output}")  # CMake wraps its messages
if(result EQUAL 0 OR NOT output MATCHES "needs protobuf of the 3\\.21 series; found protobuf 4\\.22\\.0")
  message(FATAL_ERROR "A protobuf 4.22 was not refused as it should be:\n${output}")
endif()
message(STATUS "Installed package works: ${last_output}")
