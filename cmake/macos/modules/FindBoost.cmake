include("${CMAKE_CURRENT_LIST_DIR}/HeadersOnly.cmake")
vexlo_headers_only(Boost::headers boost)
set(Boost_FOUND TRUE)
