# CMake would check the build machine, which is not a Mac, for support of @rpath names.
set(CMAKE_SHARED_LIBRARY_RUNTIME_C_FLAG "-Wl,-rpath,")
