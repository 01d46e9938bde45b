# macOS ships the library; the build machine's header declares the same interface.
include("${CMAKE_CURRENT_LIST_DIR}/HeadersOnly.cmake")
vexlo_headers_only(EXPAT::EXPAT expat.h expat_external.h)
set_property(TARGET EXPAT::EXPAT PROPERTY INTERFACE_LINK_LIBRARIES "-lexpat")
set(EXPAT_FOUND TRUE)
