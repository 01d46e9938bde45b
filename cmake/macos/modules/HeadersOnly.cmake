# vexlo_headers_only(<target> <names…>): a library of headers that are the same for every system,
# from the building machine. Linked into a folder of their own, since the rest of /usr/include is
# of the building machine's system.
function(vexlo_headers_only target)
  # One for all builds, whose objects are alike, and for an agent's that uses the toolchain.
  set(folder "../../../build-macos/headers")
  cmake_path(ABSOLUTE_PATH folder BASE_DIRECTORY "${CMAKE_CURRENT_FUNCTION_LIST_DIR}" NORMALIZE)
  file(MAKE_DIRECTORY "${folder}")
  foreach(name IN LISTS ARGN)
    if(NOT EXISTS "/usr/include/${name}")
      message(FATAL_ERROR "/usr/include/${name} is missing: ./dev setup macos installs it")
    endif()
    if(NOT EXISTS "${folder}/${name}")
      file(CREATE_LINK "/usr/include/${name}" "${folder}/${name}" SYMBOLIC)
    endif()
  endforeach()
  if(NOT TARGET ${target})
    add_library(${target} INTERFACE IMPORTED GLOBAL)
    target_include_directories(${target} INTERFACE "${folder}")
  endif()
endfunction()
