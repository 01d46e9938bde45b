# Run by CPack before it makes each kind of package: the folders of a package don't depend on the umask.
file(GLOB_RECURSE folders LIST_DIRECTORIES ON "${CPACK_TEMPORARY_DIRECTORY}/*")
foreach(folder IN LISTS folders CPACK_TEMPORARY_DIRECTORY)
  if(IS_DIRECTORY "${folder}" AND NOT IS_SYMLINK "${folder}")
    file(CHMOD "${folder}" PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE
      GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
  endif()
endforeach()
