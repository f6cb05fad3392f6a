#ifndef TESTS_SUPPORT_SHA_MODEL_H
#define TESTS_SUPPORT_SHA_MODEL_H
#include <cstddef>
#include <cstdint>
#include <vector>

/// SHA-1 and SHA-256 as FIPS 180-4 writes them down, one block at a time and with any length field: for states that no
/// message of a bearable length leads to. Written to be read, not to be fast.
namespace sha_model
{
inline std::uint32_t Rotl(std::uint32_t u, unsigned int uBits)
{
    return u << uBits | u >> (32 - uBits);
}

inline std::uint32_t Rotr(std::uint32_t u, unsigned int uBits)
{
    return u >> uBits | u << (32 - uBits);
}

inline std::uint32_t Word(const unsigned char* pu)
{
    return static_cast<std::uint32_t>(pu[0]) << 24 | static_cast<std::uint32_t>(pu[1]) << 16 |
           static_cast<std::uint32_t>(pu[2]) << 8 | pu[3];
}

struct SSha1
{
    static constexpr std::size_t uWORDS = 5;
    /// FIPS 180-4, section 5.3.1.
    static std::vector<std::uint32_t> Start() { return {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476, 0xc3d2e1f0}; }
    /// FIPS 180-4, section 6.1.2.
    static void Block(std::vector<std::uint32_t>& rState, const unsigned char* puBlock)
    {
        std::uint32_t w[80];
        for (unsigned int t = 0; t < 16; ++t) w[t] = Word(puBlock + 4 * t);
        for (unsigned int t = 16; t < 80; ++t) w[t] = Rotl(w[t - 3] ^ w[t - 8] ^ w[t - 14] ^ w[t - 16], 1);
        std::uint32_t a = rState[0], b = rState[1], c = rState[2], d = rState[3], e = rState[4];
        for (unsigned int t = 0; t < 80; ++t)
        {
            const std::uint32_t f = t < 20   ? (b & c) ^ (~b & d)
                                    : t < 40 ? b ^ c ^ d
                                    : t < 60 ? (b & c) ^ (b & d) ^ (c & d)
                                             : b ^ c ^ d;
            const std::uint32_t k = t < 20 ? 0x5a827999 : t < 40 ? 0x6ed9eba1 : t < 60 ? 0x8f1bbcdc : 0xca62c1d6;
            const std::uint32_t temp = Rotl(a, 5) + f + e + k + w[t];
            e = d;
            d = c;
            c = Rotl(b, 30);
            b = a;
            a = temp;
        }
        const std::uint32_t auAdd[] = {a, b, c, d, e};
        for (std::size_t u = 0; u < uWORDS; ++u) rState[u] += auAdd[u];
    }
};

/// The first 32 bits of the fractional part of the uRoot-th (2 or 3) root of uPrime, by bisection in integers.
inline std::uint32_t RootFraction(unsigned int uPrime, unsigned int uRoot)
{
    __extension__ using UWide = unsigned __int128;
    std::uint64_t uLow = 0;
    std::uint64_t uHigh = std::uint64_t{1} << 37;
    const UWide uTarget = static_cast<UWide>(uPrime) << (32 * uRoot);
    while (uHigh - uLow > 1)
    {
        const std::uint64_t uMiddle = (uLow + uHigh) / 2;
        UWide uPower = uMiddle;
        for (unsigned int u = 1; u < uRoot; ++u) uPower *= uMiddle;
        if (uPower <= uTarget) uLow = uMiddle;
        else uHigh = uMiddle;
    }
    return static_cast<std::uint32_t>(uLow);
}

struct SSha256
{
    static constexpr std::size_t uWORDS = 8;
    /// FIPS 180-4, sections 4.2.2 and 5.3.3: from the roots of the first primes.
    static std::vector<std::uint32_t> Fractions(std::size_t uCount, unsigned int uRoot)
    {
        std::vector<std::uint32_t> fractions;
        for (unsigned int uPrime = 2; fractions.size() < uCount; ++uPrime)
        {
            bool bPrime = true;
            for (unsigned int u = 2; u * u <= uPrime; ++u) bPrime = bPrime && uPrime % u != 0;
            if (bPrime) fractions.push_back(RootFraction(uPrime, uRoot));
        }
        return fractions;
    }
    static std::vector<std::uint32_t> Start() { return Fractions(uWORDS, 2); }
    /// FIPS 180-4, section 6.2.2.
    static void Block(std::vector<std::uint32_t>& rState, const unsigned char* puBlock)
    {
        static const std::vector<std::uint32_t> s_constants = Fractions(64, 3);
        std::uint32_t w[64];
        for (unsigned int t = 0; t < 16; ++t) w[t] = Word(puBlock + 4 * t);
        for (unsigned int t = 16; t < 64; ++t)
        {
            const std::uint32_t s0 = Rotr(w[t - 15], 7) ^ Rotr(w[t - 15], 18) ^ w[t - 15] >> 3;
            const std::uint32_t s1 = Rotr(w[t - 2], 17) ^ Rotr(w[t - 2], 19) ^ w[t - 2] >> 10;
            w[t] = s1 + w[t - 7] + s0 + w[t - 16];
        }
        std::vector<std::uint32_t> v = rState;
        for (unsigned int t = 0; t < 64; ++t)
        {
            const std::uint32_t s1 = Rotr(v[4], 6) ^ Rotr(v[4], 11) ^ Rotr(v[4], 25);
            const std::uint32_t ch = (v[4] & v[5]) ^ (~v[4] & v[6]);
            const std::uint32_t t1 = v[7] + s1 + ch + s_constants[t] + w[t];
            const std::uint32_t s0 = Rotr(v[0], 2) ^ Rotr(v[0], 13) ^ Rotr(v[0], 22);
            const std::uint32_t maj = (v[0] & v[1]) ^ (v[0] & v[2]) ^ (v[1] & v[2]);
            v.insert(v.begin(), t1 + s0 + maj);
            v[4] += t1;
            v.pop_back();
        }
        for (std::size_t u = 0; u < uWORDS; ++u) rState[u] += v[u];
    }
};

/// The chaining words after the whole blocks of a message.
template <typename Sha>
std::vector<std::uint32_t> StateAfter(const std::vector<unsigned char>& rMessage,
                                      std::vector<std::uint32_t> state = Sha::Start())
{
    for (std::size_t u = 0; u + 64 <= rMessage.size(); u += 64) Sha::Block(state, rMessage.data() + u);
    return state;
}

/// What a message is padded with: one bit, zeros and the given length in bits.
inline std::vector<unsigned char> Padding(std::size_t uMessageSize, std::uint64_t uLengthField)
{
    std::vector<unsigned char> padding(1, 0x80);
    while ((uMessageSize + padding.size()) % 64 != 56) padding.push_back(0);
    for (int nShift = 56; nShift >= 0; nShift -= 8)
        padding.push_back(static_cast<unsigned char>(uLengthField >> nShift));
    return padding;
}

inline std::vector<unsigned char> BigEndian(const std::vector<std::uint32_t>& rState)
{
    std::vector<unsigned char> bytes;
    for (const std::uint32_t uWord : rState)
    {
        for (int nShift = 24; nShift >= 0; nShift -= 8) bytes.push_back(static_cast<unsigned char>(uWord >> nShift));
    }
    return bytes;
}

/// The digest of a message whose length field holds uLengthField bits.
template <typename Sha>
std::vector<unsigned char> Digest(const std::vector<unsigned char>& rMessage, std::uint64_t uLengthField)
{
    std::vector<unsigned char> padded = rMessage;
    const std::vector<unsigned char> padding = Padding(rMessage.size(), uLengthField);
    padded.insert(padded.end(), padding.begin(), padding.end());
    return BigEndian(StateAfter<Sha>(padded));
}
}  // namespace sha_model

#endif
