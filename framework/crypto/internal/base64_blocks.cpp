#include "framework/crypto/internal/base64_blocks.h"

#include "framework/crypto/internal/cpu_features.h"

namespace orvel_internal
{
namespace
{
constexpr uint8_t g_uNO_VALUE = 0xFF;

constexpr void MakeShuffles(SBase64Alphabet& rst)
{
    constexpr uint8_t uNO_CLASS = 0x80;
    rst.auEncodingOffsets[0] = 'A';
    rst.auEncodingOffsets[1] = 'a' - 26;
    for (unsigned int u = 52; u < 64; ++u)
        rst.auEncodingOffsets[u - 50] = static_cast<uint8_t>(rst.auCharacters[u] - u);

    for (unsigned int u = 0; u < 16; ++u)
    {
        // The characters are those of ASCII that print, 0x20 to 0x7F.
        rst.auNibbleClasses[u] = u >= 2 && u < 8 ? static_cast<uint8_t>(1u << (u - 2)) : uNO_CLASS;
        rst.auMissingInClasses[u] = uNO_CLASS;
    }
    for (unsigned int uCharacter = 0x20; uCharacter < 0x80; ++uCharacter)
    {
        const unsigned int uUpper = uCharacter >> 4;
        const unsigned int uLower = uCharacter & 0x0F;
        const uint8_t uValue = rst.auValues[uCharacter];
        if (uValue == g_uNO_VALUE) rst.auMissingInClasses[uLower] |= rst.auNibbleClasses[uUpper];
        else if (uValue != 63) rst.auDecodingOffsets[uUpper] = static_cast<uint8_t>(uValue - uCharacter);
    }
    const unsigned int uOffset63 = rst.auDecodingOffsets[rst.auCharacters[63] >> 4];
    rst.uCorrection63 = static_cast<uint8_t>(63 - rst.auCharacters[63] - uOffset63);
}

// bLastTwoDecode false: they only encode.
constexpr SBase64Alphabet MakeAlphabet(char c62, char c63, bool bLastTwoDecode)
{
    constexpr char szCOMMON[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    SBase64Alphabet st{};
    for (unsigned int u = 0; u < 62; ++u) st.auCharacters[u] = static_cast<uint8_t>(szCOMMON[u]);
    st.auCharacters[62] = static_cast<uint8_t>(c62);
    st.auCharacters[63] = static_cast<uint8_t>(c63);
    for (uint8_t& ruValue : st.auValues) ruValue = g_uNO_VALUE;
    const uint8_t uDecoding = bLastTwoDecode ? 64 : 62;
    for (uint8_t u = 0; u < uDecoding; ++u) st.auValues[st.auCharacters[u]] = u;
    MakeShuffles(st);
    return st;
}

}  // namespace

constexpr SBase64Alphabet g_astBASE64_ALPHABETS[3] = {MakeAlphabet('+', '/', true), MakeAlphabet('-', '_', true),
                                                      MakeAlphabet('+', '/', false)};

namespace
{
// Apart, so that the path in front of them needs no stack frame.
[[gnu::noinline]] void EncodeByAvx2(const SBase64Alphabet& rstAlphabet, const uint8_t* puIn, size_t uGroups,
                                    uint8_t* puOut)
{
    const size_t uDone = Base64EncodeAvx2(rstAlphabet, puIn, uGroups, puOut);
    Base64EncodePortable(rstAlphabet, puIn + 3 * uDone, uGroups - uDone, puOut + 4 * uDone);
}
}  // namespace

void Base64Encode(const SBase64Alphabet& rstAlphabet, const uint8_t* puIn, size_t uGroups, uint8_t* puOut)
{
    switch (CpuPath(ECpuAlgorithm::eBASE64))
    {
        case eCPU_AVX512_VBMI: return Base64EncodeAvx512(rstAlphabet, puIn, uGroups, puOut);
        case eCPU_AVX2: return EncodeByAvx2(rstAlphabet, puIn, uGroups, puOut);
        default: return Base64EncodePortable(rstAlphabet, puIn, uGroups, puOut);
    }
}

size_t Base64Decode(const SBase64Alphabet& rstAlphabet, const uint8_t* puIn, size_t uGroups, uint8_t* puOut)
{
    size_t uDone = 0;
    switch (CpuPath(ECpuAlgorithm::eBASE64))
    {
        case eCPU_AVX512_VBMI: return Base64DecodeAvx512(rstAlphabet, puIn, uGroups, puOut);
        case eCPU_AVX2: uDone = Base64DecodeAvx2(rstAlphabet, puIn, uGroups, puOut); break;
        default: break;
    }
    return uDone + Base64DecodePortable(rstAlphabet, puIn + 4 * uDone, uGroups - uDone, puOut + 3 * uDone);
}

void Base64EncodePortable(const SBase64Alphabet& rstAlphabet, const uint8_t* puIn, size_t uGroups, uint8_t* puOut)
{
    const uint8_t* const puCharacters = rstAlphabet.auCharacters;
    for (; uGroups != 0; --uGroups, puIn += 3, puOut += 4)
    {
        puOut[0] = puCharacters[puIn[0] >> 2];
        puOut[1] = puCharacters[(puIn[0] << 4 | puIn[1] >> 4) & 0x3F];
        puOut[2] = puCharacters[(puIn[1] << 2 | puIn[2] >> 6) & 0x3F];
        puOut[3] = puCharacters[puIn[2] & 0x3F];
    }
}

size_t Base64DecodePortable(const SBase64Alphabet& rstAlphabet, const uint8_t* puIn, size_t uGroups, uint8_t* puOut)
{
    const uint8_t* const puValues = rstAlphabet.auValues;
    for (size_t uDone = 0; uDone < uGroups; ++uDone, puIn += 4, puOut += 3)
    {
        const unsigned int u0 = puValues[puIn[0]];
        const unsigned int u1 = puValues[puIn[1]];
        const unsigned int u2 = puValues[puIn[2]];
        const unsigned int u3 = puValues[puIn[3]];
        if ((u0 | u1 | u2 | u3) == g_uNO_VALUE) return uDone;
        puOut[0] = static_cast<uint8_t>(u0 << 2 | u1 >> 4);
        puOut[1] = static_cast<uint8_t>(u1 << 4 | u2 >> 2);
        puOut[2] = static_cast<uint8_t>(u2 << 6 | u3);
    }
    return uGroups;
}
}  // namespace orvel_internal
