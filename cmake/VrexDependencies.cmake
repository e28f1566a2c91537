# Locates the third-party packages; all of them come from the system.
find_package(Protobuf REQUIRED)
# The generated interface changed from 22.x on; the contract classes are built
# for the 3.21 series and nothing else.
if(NOT Protobuf_VERSION MATCHES "^3\\.21\\.")
  message(FATAL_ERROR
    "lVrexClient needs protobuf of the 3.21 series (runtime and protoc), "
    "found ${Protobuf_VERSION} at ${Protobuf_INCLUDE_DIR}. "
    "On Debian 12 install libprotobuf-dev and protobuf-compiler.")
endif()
if(NOT Protobuf_PROTOC_EXECUTABLE)
  message(FATAL_ERROR "protoc was not found; install protobuf-compiler.")
endif()
