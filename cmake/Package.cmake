# Packages for a release, with checksums: `cpack` in a build folder, or ./dev package.
set(CPACK_PACKAGE_NAME vexlo-patch-deployment)
set(CPACK_PACKAGE_VENDOR "Vexlo")
set(CPACK_PACKAGE_CONTACT "Vexlo patch deployment <patch-deployment@vexlo.invalid>")
set(CPACK_PACKAGE_CHECKSUM SHA256)
set(CPACK_PACKAGE_FILE_NAME
  "${CPACK_PACKAGE_NAME}-${PROJECT_VERSION}-${CMAKE_SYSTEM_NAME}-${CMAKE_SYSTEM_PROCESSOR}")
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_PRE_BUILD_SCRIPTS "${CMAKE_CURRENT_LIST_DIR}/PackageModes.cmake")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# One archive has everything; for Debian there is one package per component.
set(CPACK_GENERATOR TXZ)
if(CMAKE_SYSTEM_NAME STREQUAL "Linux")
  list(APPEND CPACK_GENERATOR DEB)
endif()
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SECTION admin)
set(CPACK_PACKAGING_INSTALL_PREFIX "/usr")

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libvexlo-patch-deployment-dev)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_DEPENDS libexpat1-dev)
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION "Patch deployment library of an endpoint-management agent
 Headers, library, CMake package and pkg-config file.")
set(CPACK_DEBIAN_TOOL_PACKAGE_NAME vexlo-patch)
set(CPACK_COMPONENT_TOOL_DESCRIPTION "Plans, runs and checks the actions of a patch
 A command-line tool that uses the patch deployment library as an agent does.")
set(CPACK_DEBIAN_SIMULATED-MAC_PACKAGE_NAME vexlo-simulated-mac)
set(CPACK_DEBIAN_TOOL_PACKAGE_RECOMMENDS python3)  # make-fleet
set(CPACK_DEBIAN_SIMULATED-MAC_PACKAGE_SUGGESTS vexlo-patch)
set(CPACK_COMPONENT_SIMULATED-MAC_DESCRIPTION "A simulated Mac, for testing agents
 Runs any program with the tools, users, applications and settings of a Mac.")
include(CPack)
