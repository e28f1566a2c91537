# Script mode (cmake -DGENERATED_DIR=... -P): makes every generated contract
# header include vrex/Export.h, which defines the VREX_EXPORT macro that
# protoc's dllexport_decl option puts on the contract classes. Applications
# then include any contract header on its own, as before.
file(GLOB headers "${GENERATED_DIR}/*.pb.h")
set(marker "// @@protoc_insertion_point(includes)")
foreach(header IN LISTS headers)
  file(READ "${header}" text)
  string(FIND "${text}" "${marker}" at)
  if(at EQUAL -1)
    message(FATAL_ERROR "${header} has no include insertion point")
  endif()
  string(REPLACE "${marker}" "#include \"vrex/Export.h\"\n${marker}" text "${text}")
  file(WRITE "${header}" "${text}")
endforeach()
