# What our own code is compiled and linked with, on either compiler.
add_library(orvel_options INTERFACE)
target_compile_features(orvel_options INTERFACE cxx_std_20)
target_compile_options(orvel_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast -Wnon-virtual-dtor)
if(ORVEL_WARNINGS_ARE_ERRORS)
  target_compile_options(orvel_options INTERFACE -Werror)
endif()
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_CXX_EXTENSIONS OFF)
if(NOT CMAKE_BUILD_TYPE AND PROJECT_IS_TOP_LEVEL)
  set(CMAKE_BUILD_TYPE Release)
endif()
if(ORVEL_SANITIZE)
  add_compile_options(-fsanitize=${ORVEL_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${ORVEL_SANITIZE})
endif()
if(ORVEL_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
if(ORVEL_COVERAGE)
  add_compile_options(--coverage -fprofile-update=atomic)
  add_link_options(--coverage)
endif()

# What hardens the shipped library; tools/check_hardening.sh looks for each of these in it.
add_library(orvel_hardening INTERFACE)
if(NOT ORVEL_SANITIZE AND NOT ORVEL_COVERAGE)
  target_compile_options(orvel_hardening INTERFACE -fstack-protector-strong -fstack-clash-protection -fcf-protection=full
    $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=3>)
  target_link_options(orvel_hardening INTERFACE
    LINKER:-z,relro,-z,now,-z,noexecstack,-z,text,-z,defs
    # One object that is not marked for control-flow protection unmarks the library, and the C library's crti.o is not.
    # Its _init and _fini are all that is not protected: without them as entry points, the marks tell the truth.
    LINKER:-z,ibt,-z,shstk,-init=none,-fini=none)
endif()
