#ifndef FRAMEWORK_CRYPTO_CONSTANT_TIME_H
#define FRAMEWORK_CRYPTO_CONSTANT_TIME_H
#include "framework/kernel/export.h"

/// Whether two runs of uSize bytes are equal, in a time that depends on uSize alone. Where memcmp() stops at the first
/// difference, and so tells an attacker who can measure how many bytes of a forged code fit, all bytes are read here.
/// For authentication codes and other secrets. Of 0 bytes true, with null pointers as well.
///
/// - **Threads:** Any thread.
/// - **Cost:** Eight bytes a step.
QV_EXPORT bool QvIsEqualConstantTime(const void* pvLeft, const void* pvRight, unsigned int uSize);

#endif
