#ifndef FRAMEWORK_CRYPTO_INTERNAL_BASE64_BLOCKS_H
#define FRAMEWORK_CRYPTO_INTERNAL_BASE64_BLOCKS_H
#include <stddef.h>
#include <stdint.h>

#include "framework/kernel/export.h"

/// Whole groups of base64, 3 bytes or 4 characters each. Internal.
///
/// - **Source:** RFC 4648, sections 4 and 5.
namespace orvel_internal
{
struct SBase64Alphabet
{
    /// The characters by their values, and the values by their characters, 0xFF where there is none.
    alignas(64) uint8_t auCharacters[64];
    alignas(64) uint8_t auValues[256];

    /// The same for shuffles, which look up 16 at a time. Encoding adds an offset by the class of a value: 0 the
    /// upper-case letters, 1 the lower-case letters, 2 to 11 the digits, 12 and 13 the last two.
    alignas(16) uint8_t auEncodingOffsets[16];
    /// Decoding adds an offset by the upper nibble of a character. Character 63 may share its upper nibble with others,
    /// and has a correction of its own.
    alignas(16) uint8_t auDecodingOffsets[16];
    uint8_t uCorrection63;
    /// Upper nibbles as classes, one bit each, and by lower nibble the classes that have no such character.
    alignas(16) uint8_t auNibbleClasses[16];
    alignas(16) uint8_t auMissingInClasses[16];
};

/// By the selector: the standard alphabet, the URL-safe one, and what all other selectors stand for: the standard one,
/// whose last two characters do not decode.
QV_HIDDEN extern const SBase64Alphabet g_astBASE64_ALPHABETS[3];
inline const SBase64Alphabet& Base64AlphabetOf(unsigned int uSelector)
{
    return g_astBASE64_ALPHABETS[uSelector < 2 ? uSelector : 2];
}

/// By the fastest path that this processor has: encodes uGroups groups; decodes up to uGroups groups and stops in front
/// of the first one with a character that is not of the alphabet ("=" is not, either). Writes what the groups give and
/// nothing else. Decoding returns how many groups it did.
void Base64Encode(const SBase64Alphabet& rstAlphabet, const uint8_t* puIn, size_t uGroups, uint8_t* puOut);
size_t Base64Decode(const SBase64Alphabet& rstAlphabet, const uint8_t* puIn, size_t uGroups, uint8_t* puOut);

/// On any x86-64.
void Base64EncodePortable(const SBase64Alphabet& rstAlphabet, const uint8_t* puIn, size_t uGroups, uint8_t* puOut);
size_t Base64DecodePortable(const SBase64Alphabet& rstAlphabet, const uint8_t* puIn, size_t uGroups, uint8_t* puOut);

/// With eCPU_AVX2. Return how many groups they did: they leave the last few, and those around a bad character, over.
size_t Base64EncodeAvx2(const SBase64Alphabet& rstAlphabet, const uint8_t* puIn, size_t uGroups, uint8_t* puOut);
size_t Base64DecodeAvx2(const SBase64Alphabet& rstAlphabet, const uint8_t* puIn, size_t uGroups, uint8_t* puOut);

/// With eCPU_AVX512_VBMI. These leave nothing over.
void Base64EncodeAvx512(const SBase64Alphabet& rstAlphabet, const uint8_t* puIn, size_t uGroups, uint8_t* puOut);
size_t Base64DecodeAvx512(const SBase64Alphabet& rstAlphabet, const uint8_t* puIn, size_t uGroups, uint8_t* puOut);
}  // namespace orvel_internal

#endif
