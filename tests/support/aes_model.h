#ifndef TESTS_SUPPORT_AES_MODEL_H
#define TESTS_SUPPORT_AES_MODEL_H
#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

#include "framework/crypto/cipher.h"

/// AES as FIPS 197 writes it, byte by byte, and its modes as SP 800-38A does. Every table is computed.
namespace aes_model
{
using Bytes = std::vector<unsigned char>;
/// Column by column, as in section 3.4.
using Block = std::array<unsigned char, 16>;

/// Section 4.2: multiplication modulo x^8 + x^4 + x^3 + x + 1.
inline unsigned char Times(unsigned int a, unsigned int b)
{
    unsigned int uProduct = 0;
    for (; b != 0; b >>= 1)
    {
        if ((b & 1) != 0) uProduct ^= a;
        a = (a & 0x80) != 0 ? (a << 1) ^ 0x11B : a << 1;
    }
    return static_cast<unsigned char>(uProduct);
}

/// Section 5.1.1: the inverse, then the affine transformation.
inline unsigned char Substitute(unsigned char uByte)
{
    static const auto s_auBox = []
    {
        std::array<unsigned char, 256> auBox{};
        for (unsigned int u = 0; u < 256; ++u)
        {
            unsigned int uInverse = 0;
            for (unsigned int v = 1; v < 256 && uInverse == 0; ++v)
            {
                if (Times(u, v) == 1) uInverse = v;
            }
            unsigned int uBox = 0;
            for (unsigned int i = 0; i < 8; ++i)
            {
                const auto Bit = [uInverse](unsigned int n) { return uInverse >> n % 8 & 1; };
                uBox |= (Bit(i) ^ Bit(i + 4) ^ Bit(i + 5) ^ Bit(i + 6) ^ Bit(i + 7) ^ (0x63u >> i & 1)) << i;
            }
            auBox[u] = static_cast<unsigned char>(uBox);
        }
        return auBox;
    }();
    return s_auBox[uByte];
}

inline unsigned char SubstituteBack(unsigned char uByte)
{
    static const auto s_auBox = []
    {
        std::array<unsigned char, 256> auBox{};
        for (unsigned int u = 0; u < 256; ++u)
        {
            auBox[Substitute(static_cast<unsigned char>(u))] = static_cast<unsigned char>(u);
        }
        return auBox;
    }();
    return s_auBox[uByte];
}

/// Section 5.2: the words of the key schedule, byte after byte.
inline Bytes Expand(const Bytes& rKey)
{
    Bytes words = rKey;
    unsigned char uConstant = 1;
    const std::size_t uKeyWords = rKey.size() / 4;
    for (std::size_t i = uKeyWords; i < 4 * (uKeyWords + 7); ++i)
    {
        std::array<unsigned char, 4> word;
        std::copy(words.end() - 4, words.end(), word.begin());
        if (i % uKeyWords == 0)
        {
            std::rotate(word.begin(), word.begin() + 1, word.end());
            for (unsigned char& ru : word) ru = Substitute(ru);
            word[0] ^= uConstant;
            uConstant = Times(uConstant, 2);
        }
        else if (uKeyWords > 6 && i % uKeyWords == 4)
        {
            for (unsigned char& ru : word) ru = Substitute(ru);
        }
        for (std::size_t u = 0; u < 4; ++u)
        {
            words.push_back(static_cast<unsigned char>(words[4 * (i - uKeyWords) + u] ^ word[u]));
        }
    }
    return words;
}

inline void AddRoundKey(Block& rBlock, const Bytes& rWords, std::size_t uRound)
{
    for (std::size_t u = 0; u < 16; ++u) rBlock[u] ^= rWords[16 * uRound + u];
}

/// Sections 5.1.2 and 5.3.1: row r goes nBy * r columns to the left.
inline void ShiftRows(Block& rBlock, std::size_t uBy)
{
    const Block before = rBlock;
    for (std::size_t c = 0; c < 4; ++c)
    {
        for (std::size_t r = 0; r < 4; ++r) rBlock[4 * c + r] = before[4 * ((c + uBy * r) % 4) + r];
    }
}

/// Sections 5.1.3 and 5.3.3.
inline void MixColumns(Block& rBlock, const std::array<unsigned char, 4>& rFactors)
{
    const Block before = rBlock;
    for (std::size_t c = 0; c < 4; ++c)
    {
        for (std::size_t r = 0; r < 4; ++r)
        {
            unsigned char uSum = 0;
            for (std::size_t i = 0; i < 4; ++i)
            {
                uSum = static_cast<unsigned char>(uSum ^ Times(before[4 * c + i], rFactors[(i + 4 - r) % 4]));
            }
            rBlock[4 * c + r] = uSum;
        }
    }
}

/// Section 5.1.
inline Block Encrypt(const Bytes& rWords, Block block)
{
    const std::size_t uRounds = rWords.size() / 16 - 1;
    AddRoundKey(block, rWords, 0);
    for (std::size_t uRound = 1; uRound <= uRounds; ++uRound)
    {
        for (unsigned char& ru : block) ru = Substitute(ru);
        ShiftRows(block, 1);
        if (uRound != uRounds) MixColumns(block, {2, 3, 1, 1});
        AddRoundKey(block, rWords, uRound);
    }
    return block;
}

/// Section 5.3.
inline Block Decrypt(const Bytes& rWords, Block block)
{
    std::size_t uRound = rWords.size() / 16 - 1;
    AddRoundKey(block, rWords, uRound);
    while (uRound-- != 0)
    {
        ShiftRows(block, 3);
        for (unsigned char& ru : block) ru = SubstituteBack(ru);
        AddRoundKey(block, rWords, uRound);
        if (uRound != 0) MixColumns(block, {14, 11, 13, 9});
    }
    return block;
}

/// SP 800-38A, section 6; the last block may be a part of one in the modes that allow it.
inline Bytes Crypt(CCipher::EAction eAction, CCipher::EMode eMode, const Bytes& rKey, const Bytes& rIv,
                   const Bytes& rInput)
{
    const bool bEncrypt = eAction == CCipher::eACTION_ENCRYPT;
    const Bytes words = Expand(rKey);
    Block feedback;
    std::copy(rIv.begin(), rIv.end(), feedback.begin());
    Bytes output;
    for (std::size_t uAt = 0; uAt < rInput.size(); uAt += 16)
    {
        const std::size_t uSize = std::min<std::size_t>(16, rInput.size() - uAt);
        Block in{};
        std::copy_n(&rInput[uAt], uSize, in.begin());
        Block out;
        const auto Add = [](Block a, const Block& rB)
        {
            for (std::size_t u = 0; u < 16; ++u) a[u] ^= rB[u];
            return a;
        };
        switch (eMode)
        {
            case CCipher::eMODE_CBC:
                out = bEncrypt ? Encrypt(words, Add(in, feedback)) : Add(Decrypt(words, in), feedback);
                feedback = bEncrypt ? out : in;
                break;
            case CCipher::eMODE_CFB:
                out = Add(in, Encrypt(words, feedback));
                feedback = bEncrypt ? out : in;
                break;
            case CCipher::eMODE_CTR:
                out = Add(in, Encrypt(words, feedback));
                for (std::size_t u = 16; u-- != 0 && ++feedback[u] == 0;) continue;
                break;
            case CCipher::eMODE_ECB: out = bEncrypt ? Encrypt(words, in) : Decrypt(words, in); break;
            default:
                feedback = Encrypt(words, feedback);
                out = Add(in, feedback);
                break;
        }
        output.insert(output.end(), out.begin(), out.begin() + static_cast<std::ptrdiff_t>(uSize));
    }
    return output;
}
}  // namespace aes_model

#endif
