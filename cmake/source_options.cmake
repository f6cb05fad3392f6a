# What single sources of the library are compiled with besides the rest.

# Files for one kind of processor, which is found out at run time: they alone may use its instructions.
# (g++ 12 finds uninitialized values in its own headers for AVX-512, which leave a register undefined on purpose.)
set(avx512 -mavx512f -mavx512bw -mavx512dq -mavx512vl -mavx512vbmi
  "$<$<CXX_COMPILER_ID:GNU>:-Wno-uninitialized;-Wno-maybe-uninitialized>")
# Their functions begin at cache lines, or the speed of their short loops would depend on where the code in front ends.
set(at_cache_lines -falign-functions=64)
set_source_files_properties(framework/crypto/internal/aes_blocks_aesni.cpp PROPERTIES
  COMPILE_OPTIONS "-maes;-mssse3;${at_cache_lines}")
set_source_files_properties(framework/crypto/internal/aes_blocks_vaes.cpp PROPERTIES
  COMPILE_OPTIONS "${avx512};-maes;-mvaes;${at_cache_lines}")
set_source_files_properties(framework/crypto/internal/base64_blocks_avx2.cpp PROPERTIES
  COMPILE_OPTIONS "-mavx2;${at_cache_lines}")
set_source_files_properties(framework/crypto/internal/base64_blocks_avx512.cpp PROPERTIES
  COMPILE_OPTIONS "${avx512};${at_cache_lines}")
set_source_files_properties(framework/crypto/internal/crc_blocks_pclmul.cpp PROPERTIES
  COMPILE_OPTIONS "-mpclmul;-msse4.1;${at_cache_lines}")
set_source_files_properties(framework/crypto/internal/crc_blocks_vpclmul.cpp PROPERTIES
  COMPILE_OPTIONS "${avx512};-mpclmul;-mvpclmulqdq;${at_cache_lines}")
set_source_files_properties(framework/crypto/internal/sha_blocks_x86.cpp PROPERTIES COMPILE_OPTIONS "-msha;-mssse3;-msse4.1")

# The checked functions of the C library are others than those that a program may replace, and its vsnprintf() ends the
# process at a %n that the application asked for: these three call the functions themselves.
set_source_files_properties(
  framework/basic/string.cpp framework/crypto/secure_seed.cpp framework/kernel/string_format.cpp
  PROPERTIES COMPILE_OPTIONS "-U_FORTIFY_SOURCE")

# In a search, g++ would put the end of a loop twice and jump to either: without the copy it chooses the next node by a
# conditional move, which takes two thirds of the time in a tree of 100,000.
set_property(SOURCE framework/basic/aatree.cpp APPEND PROPERTY COMPILE_OPTIONS "$<$<CXX_COMPILER_ID:GNU>:-fno-tree-ch>")
