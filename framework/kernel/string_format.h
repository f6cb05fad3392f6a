#ifndef FRAMEWORK_KERNEL_STRING_FORMAT_H
#define FRAMEWORK_KERNEL_STRING_FORMAT_H
#include <stdarg.h>

#include "framework/kernel/export.h"
#include "framework/kernel/result.h"

/// Bounded formatting, number conversion and hexadecimal text.
///
/// - **Ownership:** Nothing is kept: every function works on the caller's buffers. A negative buffer size counts as 0.
/// - **Threads:** All reentrant; QvStrErrorReentrant() takes the module's mutex.

/// strcasecmp(): negative, 0 or positive as a orders before, with or after b, letters of either case being equal in the
/// locale's sense.
QV_EXPORT int QvStringCaseCompare(const char* pszA, const char* pszB);
/// strncasecmp(): QvStringCaseCompare() of at most n characters; with n of 0 or less the texts are equal.
QV_EXPORT int QvStringCaseCompareLength(const char* pszA, const char* pszB, int n);

/// Formats like vsnprintf() into nSize bytes. A null format counts as an empty one. Returns:
///
/// - The length, where the text is shorter than nSize: the buffer holds it and a terminating NUL.
/// - nSize, where it is not: the buffer holds the first nSize characters and NO terminator.
/// - The negative value that vsnprintf() returned, where that fails.
///
/// So a result equal to nSize means that the text was cut and must not be read as a terminated one.
/// Cost: formatting once, twice when cut. Cutting to 256 characters or more throws what operator new[] throws.
QV_EXPORT int QvVsnprintf(char* pszBuf, int nSize, const char* pszFormat, va_list args)
    __attribute__((format(printf, 3, 0)));
/// QvVsnprintf() with the arguments themselves.
QV_EXPORT int QvSnprintf(char* pszBuf, int nSize, const char* pszFormat, ...) __attribute__((format(printf, 3, 4)));

/// Writes the system's text for an errno value, as QvSnprintf() with "%s" would.
QV_EXPORT int QvStrErrorReentrant(char* pszBuf, int nSize, int nErrno);

/// Writes the digits of uValue in base 2 to 36 (above 9: capital letters), or "?" for any other base.
/// Returns the number of characters written, at most nSize. A terminating NUL follows only where room is left, so a
/// buffer exactly as long as the text holds it unterminated.
QV_EXPORT int QvUnsignedInt32ToString(char* pszBuf, int nSize, unsigned int uValue, int nBase);
/// QvUnsignedInt32ToString() for 64 bits.
QV_EXPORT int QvUnsignedInt64ToString(char* pszBuf, int nSize, unsigned long uValue, int nBase);

/// Reads digits of base 2 to 36 from the start of a text, without sign or leading space; overflow wraps. Letters beyond
/// F are not read as digits in any base. *ppszEnd, when given, becomes the first character not read: the start when
/// none was, or when the base is out of range. Returns the value, 0 when nothing was read.
QV_EXPORT unsigned long QvStringToUnsignedInt64(const char* pszText, char** ppszEnd, int nBase);

/// Writes two hexadecimal digits for each byte, and a NUL behind the last, while the output position is before
/// puOut + uOutSize - 1. Give 2 * uInSize + 1 bytes of room. Returns the number of digits written.
///
/// - An even uOutSize that the digits fill: the NUL lands one byte behind the output. Give an odd one.
/// - 256 input bytes or more: the input starts over after its 256th byte until the output is full.
QV_EXPORT unsigned int AsciiToHex(bool bUpperCase, const unsigned char* puIn, unsigned int uInSize,
                                  unsigned char* puOut, unsigned int uOutSize);

/// Turns pairs of hexadecimal digits of either case into bytes; returns how many were made.
/// puOut must hold half of uHexSize, rounded up: uOutSize is ignored. An odd uHexSize reads the character behind the
/// last as the low half of the last pair. A first character that is no digit leaves the byte as it was, a second one
/// adds nothing.
QV_EXPORT unsigned int HexToAscii(const unsigned char* puHex, unsigned int uHexSize, unsigned char* puOut,
                                  unsigned int uOutSize);

/// Module start-up and shut-down, called by CFrameworkInitializer: the mutex. Start-up returns QV_RES_OK.
QV_EXPORT QvResult InitializeQvStringFormat();
QV_EXPORT void FinalizeQvStringFormat();

#endif
