# Compile options of every target; linked privately, so that they don't affect users of the library.
add_library(vexlo_compile_options INTERFACE)
target_compile_options(vexlo_compile_options INTERFACE
  -Wall -Wextra -Wpedantic -Wno-missing-field-initializers -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wswitch)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # g++ 12 reports members of std::variant's inactive alternatives, and at -O3 overlaps inside
  # std::string's own insertions that can't occur.
  target_compile_options(vexlo_compile_options INTERFACE -Wno-maybe-uninitialized -Wno-restrict)
endif()
if(CMAKE_UNITY_BUILD AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # Several files are compiled as one; their unnamed namespaces are still internal.
  target_compile_options(vexlo_compile_options INTERFACE -Wno-subobject-linkage)
endif()
option(VEXLO_WARNINGS_AS_ERRORS "Treat warnings as errors" ${PROJECT_IS_TOP_LEVEL})
if(VEXLO_WARNINGS_AS_ERRORS)
  target_compile_options(vexlo_compile_options INTERFACE -Werror)
endif()
target_include_directories(vexlo_compile_options INTERFACE "${PROJECT_SOURCE_DIR}")

# Log lines name source files relative to the module folder, without paths of the build machine.
set(source_roots "${PROJECT_SOURCE_DIR}")
find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  # Relative paths let clones of the project share the cache.
  set(CMAKE_CXX_COMPILER_LAUNCHER "${CMAKE_COMMAND}" -E env
    "CCACHE_BASEDIR=${PROJECT_SOURCE_DIR}" CCACHE_NOHASHDIR=1 ${VEXLO_CCACHE_SETTINGS}
    "${CCACHE_PROGRAM}")
  cmake_path(RELATIVE_PATH PROJECT_SOURCE_DIR BASE_DIRECTORY "${CMAKE_BINARY_DIR}"
    OUTPUT_VARIABLE relative_root)
  cmake_path(APPEND relative_root "x")  # for a trailing slash
  cmake_path(GET relative_root PARENT_PATH relative_root)
  list(APPEND source_roots "${relative_root}")
endif()
foreach(root IN LISTS source_roots)
  target_compile_options(vexlo_compile_options INTERFACE
    "-fmacro-prefix-map=${root}/VexloPatchDeployment/="
    "-fmacro-prefix-map=${root}/AgentLibraries/="
    "-fmacro-prefix-map=${root}/Tests/=Tests/")
endforeach()

# All symbols are resolved at start and the tables are then read-only. Resolving one at its first call
# would save the vector registers, which may contain part of a password, on the stack.
set(vexlo_link_options $<$<PLATFORM_ID:Linux>:LINKER:-z,relro,-z,now>)
target_link_options(vexlo_compile_options INTERFACE ${vexlo_link_options})
