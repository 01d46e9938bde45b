# Installs the library for agents: find_package(VexloPatchDeployment), target Vexlo::PatchDeployment.
include(CMakePackageConfigHelpers)
set(package_directory "${CMAKE_INSTALL_LIBDIR}/cmake/VexloPatchDeployment")

set(libraries vexlo_patch_deployment vexlo_agent_libraries vexlo_platform)
set_target_properties(vexlo_patch_deployment PROPERTIES EXPORT_NAME PatchDeployment)
set_target_properties(vexlo_agent_libraries PROPERTIES EXPORT_NAME AgentLibraries)
set_target_properties(vexlo_platform PROPERTIES EXPORT_NAME Platform)
# Shared libraries find each other in their own folder, the tool finds them next to its own.
if(APPLE)
  set(here "@loader_path")
else()
  set(here "$ORIGIN")
endif()
set_target_properties(${libraries} PROPERTIES INSTALL_RPATH "${here}")
set_target_properties(vexlo_patch PROPERTIES INSTALL_RPATH "${here}/../${CMAKE_INSTALL_LIBDIR}")

install(TARGETS ${libraries} EXPORT VexloPatchDeploymentTargets FILE_SET HEADERS)
install(EXPORT VexloPatchDeploymentTargets
  NAMESPACE Vexlo:: DESTINATION "${package_directory}")

configure_package_config_file(cmake/VexloPatchDeploymentConfig.cmake.in
  "${PROJECT_BINARY_DIR}/VexloPatchDeploymentConfig.cmake"
  INSTALL_DESTINATION "${package_directory}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/VexloPatchDeploymentConfigVersion.cmake"
  COMPATIBILITY SameMajorVersion)
install(FILES
  "${PROJECT_BINARY_DIR}/VexloPatchDeploymentConfig.cmake"
  "${PROJECT_BINARY_DIR}/VexloPatchDeploymentConfigVersion.cmake"
  DESTINATION "${package_directory}")

install(FILES docs/action-file.schema.json docs/facts.schema.json
  DESTINATION "${CMAKE_INSTALL_DATADIR}/vexlo-patch")
