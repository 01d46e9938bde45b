# Installs the library for agents: find_package(VexloPatchDeployment) or pkg-config, then the target
# Vexlo::PatchDeployment or the package vexlo-patch-deployment.
include(CMakePackageConfigHelpers)
set(package_directory "${CMAKE_INSTALL_LIBDIR}/cmake/VexloPatchDeployment")

# vexlo_install_folders(<component> <folders…>): makes those that are missing. Their mode doesn't
# depend on the umask, which CMake subtracts when it makes folders for files. (Files have fixed modes.)
function(vexlo_install_folders component)
  list(REMOVE_DUPLICATES ARGN)
  install(CODE "
    foreach(folder IN ITEMS ${ARGN})
      set(missing)
      cmake_path(ABSOLUTE_PATH folder BASE_DIRECTORY \"\${CMAKE_INSTALL_PREFIX}\" NORMALIZE)
      string(PREPEND folder \"\$ENV{DESTDIR}\")
      while(NOT EXISTS \"\${folder}\")
        list(PREPEND missing \"\${folder}\")
        cmake_path(GET folder PARENT_PATH folder)
      endwhile()
      if(missing)
        file(MAKE_DIRECTORY \${missing})
        file(CHMOD \${missing} PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE
          GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
      endif()
    endforeach()" COMPONENT ${component})
endfunction()

get_target_property(public_headers vexlo_patch_deployment HEADER_SET)
set(folders "${package_directory}" "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
foreach(header IN LISTS public_headers)
  cmake_path(RELATIVE_PATH header BASE_DIRECTORY "${PROJECT_SOURCE_DIR}")
  cmake_path(GET header PARENT_PATH folder)
  list(APPEND folders "${CMAKE_INSTALL_INCLUDEDIR}/vexlo/${folder}")
endforeach()
vexlo_install_folders(library ${folders})

set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME library)
install(TARGETS vexlo_patch_deployment EXPORT VexloPatchDeploymentTargets 
  FILE_SET HEADERS DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/vexlo")
install(EXPORT VexloPatchDeploymentTargets
  NAMESPACE Vexlo:: DESTINATION "${package_directory}")
# A stripped installation has no debug information, which contains paths of the build machine.
install(CODE "
  if(CMAKE_INSTALL_DO_STRIP)
    execute_process(COMMAND \"${CMAKE_STRIP}\" -S
      \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/$<TARGET_FILE_NAME:vexlo_patch_deployment>\"
      COMMAND_ERROR_IS_FATAL ANY)
  endif()")

# vexlo_install_pages(<component> <program>): its manual page and shell completions.
function(vexlo_install_pages component program)
  set(pages "${PROJECT_SOURCE_DIR}/Packaging")
  set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME ${component})
  vexlo_install_folders(${component} "${CMAKE_INSTALL_MANDIR}/man1"
    "${CMAKE_INSTALL_DATADIR}/bash-completion/completions" "${CMAKE_INSTALL_DATADIR}/zsh/site-functions"
    "${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d")
  install(FILES "${pages}/man/${program}.1" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1")
  install(FILES "${pages}/completions/${program}.bash" RENAME ${program}
    DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions")
  install(FILES "${pages}/completions/_${program}"
    DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/site-functions")
  install(FILES "${pages}/completions/${program}.fish"
    DESTINATION "${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d")
endfunction()

# vexlo_install_documents(<component> <package>): all pages, and the examples that they link to, laid
# out as in the sources, so that their links lead somewhere.
function(vexlo_install_documents component package)
  set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME ${component})
  set(folder "${CMAKE_INSTALL_DATADIR}/doc/${package}")
  file(GLOB_RECURSE entries LIST_DIRECTORIES ON RELATIVE "${PROJECT_SOURCE_DIR}"
    "${PROJECT_SOURCE_DIR}/docs/*" "${PROJECT_SOURCE_DIR}/examples/*")
  set(folders "${folder}/docs" "${folder}/examples" "${folder}/SimulatedMac")
  foreach(entry IN LISTS entries)
    if(IS_DIRECTORY "${PROJECT_SOURCE_DIR}/${entry}")
      list(APPEND folders "${folder}/${entry}")
    endif()
  endforeach()
  vexlo_install_folders(${component} ${folders})
  file(GLOB pages CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/*.md")
  install(FILES ${pages} DESTINATION "${folder}")
  install(DIRECTORY "${PROJECT_SOURCE_DIR}/docs" "${PROJECT_SOURCE_DIR}/examples" DESTINATION "${folder}"
    PATTERN Doxyfile EXCLUDE)
  install(FILES "${PROJECT_SOURCE_DIR}/SimulatedMac/README.md" DESTINATION "${folder}/SimulatedMac")
endfunction()

vexlo_install_documents(library libvexlo-patch-deployment-dev)
if(TARGET vexlo_patch AND VEXLO_BUILD_TOOL)
  vexlo_install_folders(tool "${CMAKE_INSTALL_BINDIR}" "${CMAKE_INSTALL_DATADIR}/vexlo-patch")
  install(TARGETS vexlo_patch COMPONENT tool)
  install(PROGRAMS "${PROJECT_SOURCE_DIR}/tools/make-fleet" COMPONENT tool DESTINATION "${CMAKE_INSTALL_BINDIR}")
  vexlo_install_pages(tool vexlo-patch)
  vexlo_install_documents(tool vexlo-patch)
  install(FILES "${PROJECT_SOURCE_DIR}/docs/action-file.schema.json"
    "${PROJECT_SOURCE_DIR}/docs/facts.schema.json" COMPONENT tool
    DESTINATION "${CMAKE_INSTALL_DATADIR}/vexlo-patch")
endif()
if(TARGET enter AND VEXLO_BUILD_SIMULATED_MAC)
  set(simulated_mac "${PROJECT_SOURCE_DIR}/SimulatedMac")
  vexlo_install_folders(simulated-mac "${CMAKE_INSTALL_BINDIR}" "${CMAKE_INSTALL_LIBEXECDIR}/vexlo"
    "${CMAKE_INSTALL_DATADIR}/vexlo/simulated-mac")
  install(TARGETS enter COMPONENT simulated-mac)
  install(TARGETS simulated-mac-tool COMPONENT simulated-mac
    DESTINATION "${CMAKE_INSTALL_LIBEXECDIR}/vexlo")
  install(DIRECTORY "${simulated_mac}/scenarios" "${simulated_mac}/root" COMPONENT simulated-mac
    DESTINATION "${CMAKE_INSTALL_DATADIR}/vexlo/simulated-mac")
  install(FILES "${simulated_mac}/defaults.ini" COMPONENT simulated-mac
    DESTINATION "${CMAKE_INSTALL_DATADIR}/vexlo/simulated-mac")
  vexlo_install_pages(simulated-mac enter)
  vexlo_install_documents(simulated-mac vexlo-simulated-mac)
endif()

get_target_property(library_type vexlo_patch_deployment TYPE)
configure_package_config_file("${CMAKE_CURRENT_LIST_DIR}/VexloPatchDeploymentConfig.cmake.in"
  "${PROJECT_BINARY_DIR}/VexloPatchDeploymentConfig.cmake"
  INSTALL_DESTINATION "${package_directory}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/VexloPatchDeploymentConfigVersion.cmake"
  COMPATIBILITY SameMajorVersion)
install(FILES
  "${PROJECT_BINARY_DIR}/VexloPatchDeploymentConfig.cmake"
  "${PROJECT_BINARY_DIR}/VexloPatchDeploymentConfigVersion.cmake"
  DESTINATION "${package_directory}")

# Users of a static library must link its system libraries; a shared one has already done so.
set(pkgconfig_requires "")
set(pkgconfig_libraries "")
if(library_type STREQUAL "STATIC_LIBRARY")
  set(pkgconfig_requires "expat")
  set(pkgconfig_libraries "-lstdc++ -pthread")
  if(APPLE)
    # macOS ships Expat without a description for pkg-config.
    set(pkgconfig_requires "")
    set(pkgconfig_libraries "-lexpat -lc++ -lobjc -framework AppKit -framework CoreFoundation -framework IOKit -framework SystemConfiguration")
  endif()
endif()
# The prefix is relative to the file, so that an installed tree can be moved.
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX
  BASE_DIRECTORY "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" OUTPUT_VARIABLE pkgconfig_prefix)
configure_file("${CMAKE_CURRENT_LIST_DIR}/vexlo-patch-deployment.pc.in"
  "${PROJECT_BINARY_DIR}/vexlo-patch-deployment.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/vexlo-patch-deployment.pc"
  DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
