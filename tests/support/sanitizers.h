#ifndef TESTS_SUPPORT_SANITIZERS_H
#define TESTS_SUPPORT_SANITIZERS_H

// g++ says by macros which sanitizer a test is built with, clang++ when it is asked.
#if defined(__has_feature)
#define TESTS_HAS_FEATURE(feature) __has_feature(feature)
#else
#define TESTS_HAS_FEATURE(feature) 0
#endif
#if defined(__SANITIZE_ADDRESS__) || TESTS_HAS_FEATURE(address_sanitizer)
#define TESTS_ADDRESS_SANITIZER 1
#else
#define TESTS_ADDRESS_SANITIZER 0
#endif
#if defined(__SANITIZE_THREAD__) || TESTS_HAS_FEATURE(thread_sanitizer)
#define TESTS_THREAD_SANITIZER 1
#else
#define TESTS_THREAD_SANITIZER 0
#endif

/// Slower by far, and with another stack.
constexpr bool g_bSANITIZED = TESTS_ADDRESS_SANITIZER || TESTS_THREAD_SANITIZER;

/// How often random tests repeat what they do uTimes times without sanitizers. Those look for errors of memory and of
/// threads, which most repetitions would show, rather than for rare wrong values.
constexpr unsigned int Repetitions(unsigned int uTimes)
{
    return g_bSANITIZED ? uTimes / 5 : uTimes;
}

// ThreadSanitizer brings an operator new of its own, beside which there is no place for another one.
#define TESTS_OWN_OPERATOR_NEW (TESTS_THREAD_SANITIZER == 0)

#endif
