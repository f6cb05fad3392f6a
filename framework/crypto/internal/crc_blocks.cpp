// Two ways to move a CRC register on by many bytes at once. Both are linear algebra over GF(2): the register after a
// message is the message, times x^32, modulo the polynomial; the register before it is added (XOR) to its first bytes,
// and zeros in front of it change nothing.
//
// Slicing (portable): the contribution of a byte that is n bytes before the end of a step depends on the byte and n
// only. Table n gives it, so the look-ups of a step do not wait for each other.
//
// Folding: carry-less multiplication takes 8 bytes, wherever they lie, to any later place: a factor x^n modulo the
// polynomial moves them on by n bits. Accumulators travel over a long message, adding up what lies at equal distances;
// the last 1024 bytes go straight to the end, each 8 by a factor of their own, none waiting for another. What is left
// is one remainder of 96 bits, and Barrett's division makes 32 of it.
//
// Everything is bit-reflected: the lowest bit of a register is its highest power. A product of two reflected 64-bit
// words comes out one bit short, that is, multiplied by x; the factors make up for it. They are stored in the low half
// of their words, which is times x^32.
//
// CRC-16 goes through the same steps as a CRC-32 whose polynomial is multiplied by x^16: its upper 16 bits stay 0.
#include "framework/crypto/internal/crc_blocks.h"

#include <string.h>

namespace orvel_internal
{
namespace
{
constexpr uint16_t g_uPOLYNOMIAL_16 = 0x8408;
constexpr uint32_t g_uPOLYNOMIAL_32 = 0xEDB88320;

constexpr unsigned int g_uSTEP = g_uCRC_SLICING_STEP;
// Each step waits for the one before, so long messages are worked on in longer steps.
constexpr unsigned int g_uLONG_STEP = 24;

template <typename Register>
struct SSlices
{
    // [n][b]: the register that byte b leaves n bytes later.
    Register auSlices[g_uLONG_STEP][256];
};

template <typename Register>
constexpr Register TimesX(Register uRegister, Register uPolynomial)
{
    const Register uDropped = uRegister & 1;
    return static_cast<Register>(uRegister >> 1 ^ (uDropped != 0 ? uPolynomial : 0));
}

template <typename Register>
constexpr SSlices<Register> MakeSlices(Register uPolynomial)
{
    SSlices<Register> st{};
    for (unsigned int uByte = 0; uByte < 256; ++uByte)
    {
        Register uRegister = static_cast<Register>(uByte);
        for (unsigned int uBit = 0; uBit < 8; ++uBit) uRegister = TimesX(uRegister, uPolynomial);
        st.auSlices[0][uByte] = uRegister;
    }
    for (unsigned int u = 1; u < g_uLONG_STEP; ++u)
    {
        for (unsigned int uByte = 0; uByte < 256; ++uByte)
        {
            const Register uBefore = st.auSlices[u - 1][uByte];
            st.auSlices[u][uByte] = static_cast<Register>(uBefore >> 8 ^ st.auSlices[0][uBefore & 0xFF]);
        }
    }
    return st;
}

constexpr SSlices<uint16_t> g_stSLICES_16 = MakeSlices(g_uPOLYNOMIAL_16);
constexpr SSlices<uint32_t> g_stSLICES_32 = MakeSlices(g_uPOLYNOMIAL_32);

uint32_t LoadWord(const uint8_t* pu)
{
    uint32_t uWord;
    memcpy(&uWord, pu, sizeof(uWord));
    return uWord;
}

// What the four bytes of a word leave, the last of them uAfter bytes before the end of the step.
template <typename Register>
uint32_t SliceWord(const SSlices<Register>& rstSlices, uint32_t uWord, unsigned int uAfter)
{
    const auto& auSlices = rstSlices.auSlices;
    const uint32_t uFirstTwo = auSlices[uAfter + 3][uWord & 0xFF] ^ auSlices[uAfter + 2][uWord >> 8 & 0xFF];
    const uint32_t uLastTwo = auSlices[uAfter + 1][uWord >> 16 & 0xFF] ^ auSlices[uAfter][uWord >> 24];
    return uFirstTwo ^ uLastTwo;
}

// One step of SIZE bytes, a multiple of 4. Only the first word waits for the step before.
template <unsigned int SIZE, typename Register>
uint32_t SliceStep(const SSlices<Register>& rstSlices, uint32_t uRegister, const uint8_t* puData)
{
    uint32_t uOthers = 0;
#pragma GCC unroll 8
    for (unsigned int u = 4; u < SIZE; u += 4) uOthers ^= SliceWord(rstSlices, LoadWord(puData + u), SIZE - 4 - u);
    return SliceWord(rstSlices, LoadWord(puData) ^ uRegister, SIZE - 4) ^ uOthers;
}

template <typename Register>
uint32_t Slice(const SSlices<Register>& rstSlices, uint32_t uRegister, const uint8_t* puData, size_t uSize)
{
    uRegister = static_cast<Register>(uRegister);
    for (; uSize >= g_uLONG_STEP; puData += g_uLONG_STEP, uSize -= g_uLONG_STEP)
    {
        uRegister = SliceStep<g_uLONG_STEP>(rstSlices, uRegister, puData);
    }
    for (; uSize >= g_uSTEP; puData += g_uSTEP, uSize -= g_uSTEP)
    {
        uRegister = SliceStep<g_uSTEP>(rstSlices, uRegister, puData);
    }
    for (; uSize >= 4; puData += 4, uSize -= 4) uRegister = SliceStep<4>(rstSlices, uRegister, puData);
    for (; uSize != 0; ++puData, --uSize)
    {
        uRegister = uRegister >> 8 ^ rstSlices.auSlices[0][(*puData ^ uRegister) & 0xFF];
    }
    return uRegister;
}

// Powers of x modulo a polynomial, asked for in rising order.
class CPowers
{
public:
    constexpr explicit CPowers(uint32_t uPolynomial) : m_uPolynomial(uPolynomial), m_uPower(0x80000000), m_uExponent(0)
    {
    }
    // The factor that moves 64 reflected bits on by uBits (33 at least): one bit is the product's own doing, 32 are the
    // place in the word.
    constexpr uint64_t FactorBy(unsigned int uBits)
    {
        for (; m_uExponent < uBits - 33; ++m_uExponent) m_uPower = TimesX(m_uPower, m_uPolynomial);
        return m_uPower;
    }

private:
    uint32_t m_uPolynomial;
    uint32_t m_uPower;
    unsigned int m_uExponent;
};

constexpr SCrcVariant MakeVariant(uint32_t uPolynomial, uint32_t (*pfnSlice)(uint32_t, const uint8_t*, size_t))
{
    SCrcVariant st{};
    st.pfnSlice = pfnSlice;
    CPowers toEnd(uPolynomial);
    for (unsigned int u = 1; u <= SCrcVariant::ms_uREACH / 8; ++u)
    {
        st.auToEnd[SCrcVariant::ms_uREACH / 8 - u] = toEnd.FactorBy(64 * u);
    }
    CPowers far(uPolynomial);
    st.auBy64[1] = far.FactorBy(8 * 64);
    st.auBy64[0] = far.FactorBy(8 * 64 + 64);
    st.auBy512[1] = far.FactorBy(8 * 512);
    st.auBy512[0] = far.FactorBy(8 * 512 + 64);

    // Long division of x^95: the coefficients of the quotient are the bits that drop out.
    uint32_t uRemainder = 1;
    for (unsigned int u = 0; u < 64; ++u)
    {
        st.auDivision[0] |= uint64_t{uRemainder & 1} << u;
        uRemainder = TimesX(uRemainder, uPolynomial);
    }
    st.auDivision[1] = uint64_t{uPolynomial} << 1;
    return st;
}
}  // namespace

constexpr SCrcVariant g_astCRC_VARIANTS[2] = {MakeVariant(g_uPOLYNOMIAL_16, Crc16Slice),
                                              MakeVariant(g_uPOLYNOMIAL_32, Crc32Slice)};

uint32_t Crc16Slice(uint32_t uRegister, const uint8_t* puData, size_t uSize)
{
    return Slice(g_stSLICES_16, uRegister, puData, uSize);
}

uint32_t Crc32Slice(uint32_t uRegister, const uint8_t* puData, size_t uSize)
{
    return Slice(g_stSLICES_32, uRegister, puData, uSize);
}
}  // namespace orvel_internal
