include("${CMAKE_CURRENT_LIST_DIR}/HeadersOnly.cmake")
vexlo_headers_only(CLI11::CLI11 CLI)
set(CLI11_FOUND TRUE)
