#include "framework/crypto/md5.h"

#include "framework/crypto/internal/blob_forms.h"
#include "framework/crypto/internal/message_blocks.h"

static_assert(sizeof(CMd5BremoFw) == 96, "field order and widths are the binary interface");
static_assert(sizeof(CMd5) == 104, "the interface, then the implementation");

using orvel_internal::g_uMESSAGE_BLOCK_SIZE;

namespace
{
// The four round functions of RFC 1321, section 3.4, added to a sum. Each uses x last: x is the result of the
// step before, and the fewer operations follow on it, the shorter is the chain of dependencies that limits MD5's speed.
struct SRoundF
{
    static constexpr unsigned int ms_auSHIFTS[4] = {7, 12, 17, 22};
    static uint32_t Add(uint32_t uSum, uint32_t x, uint32_t y, uint32_t z) { return uSum + (((y ^ z) & x) ^ z); }
};
struct SRoundG
{
    static constexpr unsigned int ms_auSHIFTS[4] = {5, 9, 14, 20};
    // The two halves have no bit in common, so they may be added one by one.
    static uint32_t Add(uint32_t uSum, uint32_t x, uint32_t y, uint32_t z) { return uSum + (~z & y) + (z & x); }
};
struct SRoundH
{
    static constexpr unsigned int ms_auSHIFTS[4] = {4, 11, 16, 23};
    static uint32_t Add(uint32_t uSum, uint32_t x, uint32_t y, uint32_t z) { return uSum + ((y ^ z) ^ x); }
};
struct SRoundI
{
    static constexpr unsigned int ms_auSHIFTS[4] = {6, 10, 15, 21};
    static uint32_t Add(uint32_t uSum, uint32_t x, uint32_t y, uint32_t z) { return uSum + ((~z | x) ^ y); }
};

template <typename Round>
inline void Step(uint32_t& ra, uint32_t b, uint32_t c, uint32_t d, uint32_t uWord, unsigned int uShift, uint32_t uSine)
{
    ra = b + orvel_internal::RotateLeft(Round::Add(ra + uWord + uSine, b, c, d), uShift);
}

// Four steps, after which each of the words has been replaced once.
template <typename Round>
inline void FourSteps(uint32_t (&auState)[4], const uint32_t (&auWords)[4], const uint32_t (&auSines)[4])
{
    Step<Round>(auState[0], auState[1], auState[2], auState[3], auWords[0], Round::ms_auSHIFTS[0], auSines[0]);
    Step<Round>(auState[3], auState[0], auState[1], auState[2], auWords[1], Round::ms_auSHIFTS[1], auSines[1]);
    Step<Round>(auState[2], auState[3], auState[0], auState[1], auWords[2], Round::ms_auSHIFTS[2], auSines[2]);
    Step<Round>(auState[1], auState[2], auState[3], auState[0], auWords[3], Round::ms_auSHIFTS[3], auSines[3]);
}
}  // namespace

CMd5BremoFw::CMd5BremoFw()
{
    static_cast<void>(Begin());
}

CMd5BremoFw::~CMd5BremoFw() = default;

QvResult CMd5BremoFw::Begin()
{
    m_auState[0] = 0x67452301;
    m_auState[1] = 0xefcdab89;
    m_auState[2] = 0x98badcfe;
    m_auState[3] = 0x10325476;
    m_auBitCount[0] = m_auBitCount[1] = 0;
    return QV_RES_OK;
}

QvResult CMd5BremoFw::Update(const uint8_t* puData, unsigned int uSize)
{
    if (puData == nullptr) return QV_RES_INVALID_ARGUMENT;
    const unsigned int uUsed = m_auBitCount[0] / 8 % g_uMESSAGE_BLOCK_SIZE;
    const uint32_t uAddedBits = uSize << 3;
    m_auBitCount[0] += uAddedBits;
    m_auBitCount[1] += (uSize >> 29) + (m_auBitCount[0] < uAddedBits ? 1 : 0);
    orvel_internal::FeedBlocks(m_auBuffer, uUsed, puData, uSize,
                               [this](const uint8_t* puBlocks, size_t uCount) { Transform(puBlocks, uCount); });
    return QV_RES_OK;
}

QvResult CMd5BremoFw::End(uint8_t* puDigest)
{
    if (puDigest == nullptr) return QV_RES_INVALID_ARGUMENT;
    uint8_t auLength[8];
    Encode(auLength, m_auBitCount, 2);
    orvel_internal::PadBlocks(m_auBuffer, m_auBitCount[0] / 8 % g_uMESSAGE_BLOCK_SIZE, 0x80, auLength,
                              [this](const uint8_t* puBlocks, size_t uCount) { Transform(puBlocks, uCount); });
    Encode(puDigest, m_auState, 4);
    memset(m_auState, 0, sizeof(m_auState));
    memset(m_auBitCount, 0, sizeof(m_auBitCount));
    memset(m_auBuffer, 0, sizeof(m_auBuffer));
    return QV_RES_OK;
}

QvResult CMd5BremoFw::Update(const CBlob* pblobData)
{
    return orvel_internal::UpdateFromBlob(*this, pblobData);
}

QvResult CMd5BremoFw::End(CBlob* pblobDigest)
{
    return orvel_internal::EndIntoBlob(*this, pblobDigest);
}

unsigned int CMd5BremoFw::GetAlgorithm()
{
    return CHash::eMD5;
}

unsigned int CMd5BremoFw::GetSizeInBits()
{
    return 128;
}

unsigned int CMd5BremoFw::GetSizeInBytes()
{
    return 16;
}

void CMd5BremoFw::Transform(const uint8_t* puBlocks, size_t uCount)
{
    uint32_t s[4] = {m_auState[0], m_auState[1], m_auState[2], m_auState[3]};
    for (; uCount != 0; --uCount, puBlocks += g_uMESSAGE_BLOCK_SIZE)
    {
        const uint32_t auBefore[4] = {s[0], s[1], s[2], s[3]};
        uint32_t w[16];
        Decode(w, puBlocks, 16);

        FourSteps<SRoundF>(s, {w[0], w[1], w[2], w[3]}, {0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee});
        FourSteps<SRoundF>(s, {w[4], w[5], w[6], w[7]}, {0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501});
        FourSteps<SRoundF>(s, {w[8], w[9], w[10], w[11]}, {0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be});
        FourSteps<SRoundF>(s, {w[12], w[13], w[14], w[15]}, {0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821});

        FourSteps<SRoundG>(s, {w[1], w[6], w[11], w[0]}, {0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa});
        FourSteps<SRoundG>(s, {w[5], w[10], w[15], w[4]}, {0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8});
        FourSteps<SRoundG>(s, {w[9], w[14], w[3], w[8]}, {0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed});
        FourSteps<SRoundG>(s, {w[13], w[2], w[7], w[12]}, {0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a});

        FourSteps<SRoundH>(s, {w[5], w[8], w[11], w[14]}, {0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c});
        FourSteps<SRoundH>(s, {w[1], w[4], w[7], w[10]}, {0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70});
        FourSteps<SRoundH>(s, {w[13], w[0], w[3], w[6]}, {0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05});
        FourSteps<SRoundH>(s, {w[9], w[12], w[15], w[2]}, {0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665});

        FourSteps<SRoundI>(s, {w[0], w[7], w[14], w[5]}, {0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039});
        FourSteps<SRoundI>(s, {w[12], w[3], w[10], w[1]}, {0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1});
        FourSteps<SRoundI>(s, {w[8], w[15], w[6], w[13]}, {0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1});
        FourSteps<SRoundI>(s, {w[4], w[11], w[2], w[9]}, {0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391});

        for (unsigned int u = 0; u < 4; ++u) s[u] += auBefore[u];
    }
    memcpy(m_auState, s, sizeof(s));
}

void CMd5BremoFw::Encode(uint8_t* puOut, const uint32_t* puWords, unsigned int uWordCount)
{
    memcpy(puOut, puWords, sizeof(uint32_t) * uWordCount);  // x86-64 is little-endian itself
}

void CMd5BremoFw::Decode(uint32_t* puWords, const uint8_t* puIn, unsigned int uWordCount)
{
    memcpy(puWords, puIn, sizeof(uint32_t) * uWordCount);
}

CMd5::CMd5() = default;

CMd5::~CMd5() = default;
