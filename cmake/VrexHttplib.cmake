# cpp-httplib (target vrex_httplib), for the tests' own small servers and
# clients and the stub's recorder; included only where one of them is built.
# Debian's is a compiled library; its header must be read with the same
# feature macros it was built with (pkg-config supplies them), or the classes
# do not match.
if(NOT TARGET vrex_httplib)
  find_package(PkgConfig REQUIRED)
  find_package(Threads REQUIRED)
  pkg_check_modules(VREX_HTTPLIB REQUIRED IMPORTED_TARGET GLOBAL cpp-httplib)
  add_library(vrex_httplib INTERFACE)
  target_link_libraries(vrex_httplib INTERFACE PkgConfig::VREX_HTTPLIB Threads::Threads)
endif()
