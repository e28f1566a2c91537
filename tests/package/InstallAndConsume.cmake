# Script mode: install, then build and run the consumer in two ways.
set(prefix "${WORK_DIR}/prefix")
file(REMOVE_RECURSE "${WORK_DIR}")
file(MAKE_DIRECTORY "${WORK_DIR}")

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result
                  OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "Command failed (${result}): ${ARGN}\n${output}")
  endif()
  set(last_output "${output}" PARENT_SCOPE)
endfunction()

run(${CMAKE_COMMAND} --install "${BUILD_DIR}" --prefix "${prefix}")

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
message(STATUS "Installed package works: ${last_output}")
