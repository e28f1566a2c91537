# Script mode: configuring the project with a protoc of another series than
# the protobuf runtime stops with a message naming both.
file(REMOVE_RECURSE "${WORK_DIR}")
set(fake_protoc "${WORK_DIR}/bin/protoc")
file(WRITE "${fake_protoc}" "#!/bin/sh\necho 'libprotoc 25.1'\n")
file(CHMOD "${fake_protoc}" PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
execute_process(
  COMMAND ${CMAKE_COMMAND} -S "${SOURCE_DIR}" -B "${WORK_DIR}/build" -G "${GENERATOR}"
          -DProtobuf_PROTOC_EXECUTABLE=${fake_protoc} -DBUILD_TESTING=OFF
  RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
string(REGEX REPLACE "[ \n]+" " " output "${output}")  # CMake wraps its messages
if(result EQUAL 0 OR NOT output MATCHES "needs protoc of the 3\\.21 series.*libprotoc 25\\.1")
  message(FATAL_ERROR "A protoc 25.1 was not refused as it should be:\n${output}")
endif()
