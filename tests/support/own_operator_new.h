#ifndef TESTS_SUPPORT_OWN_OPERATOR_NEW_H
#define TESTS_SUPPORT_OWN_OPERATOR_NEW_H

// ThreadSanitizer brings an operator new of its own, beside which there is no place for another one.
#if defined(__SANITIZE_THREAD__)
#define TESTS_OWN_OPERATOR_NEW 0
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define TESTS_OWN_OPERATOR_NEW 0
#endif
#endif
#ifndef TESTS_OWN_OPERATOR_NEW
#define TESTS_OWN_OPERATOR_NEW 1
#endif

#endif
