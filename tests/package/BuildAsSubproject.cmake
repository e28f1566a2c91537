# Script mode: builds and runs the subproject consumer, and installs it to
# check that the library added with add_subdirectory() installs nothing.
file(REMOVE_RECURSE "${WORK_DIR}")

include("${CMAKE_CURRENT_LIST_DIR}/RunCommand.cmake")

run(${CMAKE_COMMAND} -S "${CONSUMER_DIR}" -B "${WORK_DIR}/build" -G "${GENERATOR}"
    -DCMAKE_CXX_COMPILER=${CXX_COMPILER} -DCMAKE_BUILD_TYPE=${BUILD_TYPE}
    "-DCMAKE_CXX_COMPILER_LAUNCHER=${LAUNCHER}" -DVREX_SOURCE_DIR=${SOURCE_DIR})
run(${CMAKE_COMMAND} --build "${WORK_DIR}/build")
run("${WORK_DIR}/build/vrex_consumer")
if(NOT last_output MATCHES "209 schema files")
  message(FATAL_ERROR "Unexpected consumer output: ${last_output}")
endif()
run(${CMAKE_COMMAND} --install "${WORK_DIR}/build" --prefix "${WORK_DIR}/prefix")
file(GLOB_RECURSE installed "${WORK_DIR}/prefix/*")
if(installed)
  message(FATAL_ERROR "lVrexClient as a subproject installed ${installed}")
endif()
message(STATUS "Subproject consumer works: ${last_output}")
