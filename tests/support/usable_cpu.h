#ifndef TESTS_SUPPORT_USABLE_CPU_H
#define TESTS_SUPPORT_USABLE_CPU_H

// x86_cpu_active(x86_cpu_AVX2) and its like: what the C library takes the processor to be able to, without what the
// system does not support. In contrast to /proc/cpuinfo it is about the processor that runs the program or emulates it.
#ifdef __clang__
// The header is written in C.
#define _Bool bool
#include <sys/platform/x86.h>
#undef _Bool
#else
#include <sys/platform/x86.h>
#endif

#endif
