# Locates the third-party packages; all of them come from the system.
find_package(CURL REQUIRED)
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
# Code from another protoc release does not compile against this runtime, or
# worse, compiles and misbehaves: the compiler must be of the same series.
execute_process(COMMAND "${Protobuf_PROTOC_EXECUTABLE}" --version
  OUTPUT_VARIABLE vrex_protoc_version_text OUTPUT_STRIP_TRAILING_WHITESPACE
  RESULT_VARIABLE vrex_protoc_result)
string(REGEX MATCH "[0-9]+\\.[0-9]+(\\.[0-9]+)?" vrex_protoc_version "${vrex_protoc_version_text}")
if(NOT vrex_protoc_result EQUAL 0 OR NOT vrex_protoc_version MATCHES "^3\\.21(\\.|$)")
  message(FATAL_ERROR
    "lVrexClient needs protoc of the 3.21 series, the series of the protobuf runtime "
    "(${Protobuf_VERSION}); ${Protobuf_PROTOC_EXECUTABLE} reports "
    "\"${vrex_protoc_version_text}\". On Debian 12 install protobuf-compiler, or set "
    "Protobuf_PROTOC_EXECUTABLE to a protoc 3.21.")
endif()
