# find_package(orvel_framework 1.0) makes the target orvel::framework.
include(CMakeFindDependencyMacro)
find_dependency(OpenSSL COMPONENTS Crypto)
find_dependency(Threads)
include(${CMAKE_CURRENT_LIST_DIR}/orvel_framework-targets.cmake)
