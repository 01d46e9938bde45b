# CMake asks the building machine, which is no Mac, whether libraries may have @rpath names.
set(CMAKE_SHARED_LIBRARY_RUNTIME_C_FLAG "-Wl,-rpath,")
