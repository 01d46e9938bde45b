# Cross-compiles for macOS 12 and later on Linux. VEXLO_MACOS_PROCESSOR is arm64 or x86_64. The compiler
# includes libc++, libSystem and the C library's headers; the small SDK next to this file declares
# Apple's frameworks.
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_VERSION 21)  # of macOS 12
set(CMAKE_OSX_DEPLOYMENT_TARGET "")  # is part of the compiler's target
set(CMAKE_USER_MAKE_RULES_OVERRIDE "${CMAKE_CURRENT_LIST_DIR}/rpath.cmake")
set(CMAKE_SYSTEM_PROCESSOR "${VEXLO_MACOS_PROCESSOR}")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES VEXLO_MACOS_PROCESSOR)

set(zig_processor_arm64 aarch64)
set(zig_processor_x86_64 x86_64)
set(CMAKE_CXX_COMPILER "${CMAKE_CURRENT_LIST_DIR}/zig-c++")
set(CMAKE_C_COMPILER "${CMAKE_CXX_COMPILER}")  # for the build of GoogleTest
set(CMAKE_OBJCXX_COMPILER "${CMAKE_CXX_COMPILER}")
set(VEXLO_CCACHE_SETTINGS "CCACHE_COMPILERCHECK=string:zig-0.11.0")  # not the script's age
set(CMAKE_CXX_COMPILER_TARGET "${zig_processor_${VEXLO_MACOS_PROCESSOR}}-macos.12.0")
set(CMAKE_C_COMPILER_TARGET "${CMAKE_CXX_COMPILER_TARGET}")
set(CMAKE_OBJCXX_COMPILER_TARGET "${CMAKE_CXX_COMPILER_TARGET}")
set(CMAKE_STRIP "${CMAKE_CURRENT_LIST_DIR}/strip" CACHE FILEPATH "")
foreach(tool IN ITEMS AR RANLIB NM OBJDUMP INSTALL_NAME_TOOL)
  string(TOLOWER "llvm-${tool}-19" name)
  string(REPLACE "_" "-" name "${name}")
  set(CMAKE_${tool} "${name}" CACHE FILEPATH "")
endforeach()

set(sdk "${CMAKE_CURRENT_LIST_DIR}/sdk")
# C++ library features newer than macOS 12 are errors, although Zig's own library is linked.
set(CMAKE_CXX_FLAGS_INIT "-isystem ${sdk}/include -U_LIBCPP_HAS_NO_VENDOR_AVAILABILITY_ANNOTATIONS -U_LIBCPP_DISABLE_AVAILABILITY")
# Zig passes the language option to clang a second time.
set(CMAKE_OBJCXX_FLAGS_INIT "${CMAKE_CXX_FLAGS_INIT} -Wno-unused-command-line-argument")
foreach(kind IN ITEMS EXE SHARED MODULE)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT "-F${sdk}/frameworks -L${sdk}/lib")
endforeach()

include("${CMAKE_CURRENT_LIST_DIR}/search.cmake")
