// Nothing: CMake compiles the precompiled header of the tests beside a source.
