# What every target of the project is compiled with; private, so it never reaches an embedder.
add_library(vexlo_compile_options INTERFACE)
target_compile_options(vexlo_compile_options INTERFACE
  -Wall -Wextra -Wpedantic -Wno-missing-field-initializers -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wswitch
  # Log lines name their source file from the module folder on; no path of the building machine.
  "-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/VexloPatchDeployment/="
  "-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/AgentLibraries/="
  "-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/Tests/=Tests/")
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # g++ 12 reports members of std::variant's inactive alternatives, and at -O3 overlaps inside
  # std::string's own insertions that can't occur.
  target_compile_options(vexlo_compile_options INTERFACE -Wno-maybe-uninitialized -Wno-restrict)
endif()
if(CMAKE_UNITY_BUILD)
  # Several files are compiled as one: what is in an unnamed namespace is no one else's even so.
  target_compile_options(vexlo_compile_options INTERFACE -Wno-subobject-linkage)
endif()
option(VEXLO_WARNINGS_AS_ERRORS "Treat warnings as errors" ${PROJECT_IS_TOP_LEVEL})
if(VEXLO_WARNINGS_AS_ERRORS)
  target_compile_options(vexlo_compile_options INTERFACE -Werror)
endif()
target_include_directories(vexlo_compile_options INTERFACE "${PROJECT_SOURCE_DIR}")

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  # A base directory would make paths relative, out of reach of the maps above.
  set(CMAKE_CXX_COMPILER_LAUNCHER "${CMAKE_COMMAND}" -E env CCACHE_BASEDIR= "${CCACHE_PROGRAM}")
endif()
