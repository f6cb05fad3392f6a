// Bit cursors. A position is an index and a bit offset of 0 to 7. With an offset above 0 a byte is in progress: for
// reading it is the one before the read index, for appending the one at the append-bits index. Bits travel in 32-bit
// words loaded big-endian, so that bit n of a byte run is bit n of the word from the top; a step moves as many bits as
// source and destination both have left in their words. Of the last word only the bytes that exist are loaded; reading
// stores only the bytes that bits have reached, appending a whole word, for which it reserves four bytes more.
#include "framework/basic/blob.h"

#include <limits.h>

#include <algorithm>
#include <array>
#include <memory>
#include <new>

#include "framework/basic/internal/write_text.h"
#include "framework/basic/string.h"
#include "framework/kernel/internal/is_within.h"
#include "framework/kernel/internal/lifetime.h"

static_assert(sizeof(CBlob) == 72, "field order and widths are the binary interface");

using orvel_internal::Overlap;
using orvel_internal::TopBits;

namespace
{
constexpr unsigned int g_uWORD_BITS = 32;
constexpr unsigned int g_uWORD_BYTES = 4;

// The first uBytes bytes, four at most, as the top of a big-endian word.
uint32_t LoadWord(const unsigned char* pu, size_t uBytes)
{
    uint32_t uWord = 0;
    if (uBytes >= g_uWORD_BYTES) memcpy(&uWord, pu, g_uWORD_BYTES);
    else memcpy(&uWord, pu, uBytes);
    return __builtin_bswap32(uWord);
}

void StoreWord(unsigned char* pu, uint32_t uWord, size_t uBytes)
{
    uWord = __builtin_bswap32(uWord);
    if (uBytes == g_uWORD_BYTES) memcpy(pu, &uWord, g_uWORD_BYTES);
    else memcpy(pu, &uWord, uBytes);
}

size_t BytesHolding(uint64_t uBits)
{
    return static_cast<size_t>((uBits + 7) / 8);
}

// What appending uBits bits behind uOffset bits of a blob's last byte reserves: room for a whole word more.
size_t CapacityFor(uint64_t uBits, unsigned int uOffset, unsigned int uSize)
{
    return uSize + BytesHolding(uBits + uOffset) + g_uWORD_BYTES;
}

// How many of uRemaining bits one step moves between two offsets.
unsigned int ChunkSize(uint64_t uRemaining, unsigned int uOffset1, unsigned int uOffset2)
{
    const unsigned int uRoom = g_uWORD_BITS - std::max(uOffset1, uOffset2);
    return static_cast<unsigned int>(std::min<uint64_t>(uRemaining, uRoom));
}

// uBits bits of uSource from uFrom on, at uTo, behind the first uTo bits of uTarget.
uint32_t MergeBits(uint32_t uTarget, unsigned int uTo, uint32_t uSource, unsigned int uFrom, unsigned int uBits)
{
    const uint32_t uTaken = uSource << uFrom & TopBits(uBits);
    return (uTarget & TopBits(uTo)) | uTaken >> uTo;
}

// Advances a byte pointer and a bit offset by uBits.
template <typename Pointer>
void Advance(Pointer& rpu, unsigned int& ruOffset, unsigned int uBits)
{
    rpu += (uBits + ruOffset) / 8;
    ruOffset = (uBits + ruOffset) % 8;
}

// A copy of bytes that belong to the blob about to change, or null.
std::unique_ptr<unsigned char[]> CopyOf(const unsigned char* puData, size_t uSize)
{
    std::unique_ptr<unsigned char[]> puCopy(new (std::nothrow) unsigned char[uSize]);
    if (puCopy != nullptr) memcpy(puCopy.get(), puData, uSize);
    return puCopy;
}

// Bit by bit, as memmove() moves bytes, so that the two runs may overlap. Bits count from the top of the byte at pu.
void MoveBits(unsigned char* puDst, uint64_t uDstBit, const unsigned char* puSrc, uint64_t uSrcBit, uint64_t uBits)
{
    const bool bBackwards =
        reinterpret_cast<uintptr_t>(puDst) * 8 + uDstBit > reinterpret_cast<uintptr_t>(puSrc) * 8 + uSrcBit;
    for (uint64_t uDone = 0; uDone < uBits; ++uDone)
    {
        const uint64_t uBit = bBackwards ? uBits - 1 - uDone : uDone;
        const unsigned int uValue = puSrc[(uSrcBit + uBit) / 8] >> (7 - (uSrcBit + uBit) % 8) & 1u;
        unsigned char& ruDst = puDst[(uDstBit + uBit) / 8];
        const unsigned int uShift = 7 - (uDstBit + uBit) % 8;
        ruDst = static_cast<unsigned char>((ruDst & ~(1u << uShift)) | uValue << uShift);
    }
}

// The values of the digits, and what no pair of digits gives.
constexpr unsigned int g_uNO_DIGIT = 0x100;
constexpr std::array<uint16_t, 256> g_auDIGIT_VALUES = []
{
    std::array<uint16_t, 256> auValues{};
    auValues.fill(g_uNO_DIGIT);
    for (unsigned int u = 0; u < 10; ++u) auValues['0' + u] = static_cast<uint16_t>(u);
    for (unsigned int u = 0; u < 6; ++u) auValues['a' + u] = auValues['A' + u] = static_cast<uint16_t>(10 + u);
    return auValues;
}();

bool IsHex(const unsigned char* puHex, size_t uSize)
{
    unsigned int uAll = 0;
    for (size_t u = 0; u < uSize; ++u) uAll |= g_auDIGIT_VALUES[puHex[u]];
    return uAll < g_uNO_DIGIT;
}

// The digits may stand where the bytes go, or behind: a byte is stored no earlier than its digits are read.
void DecodeHex(const unsigned char* puHex, size_t uBytes, unsigned char* puOut)
{
    for (size_t u = 0; u < uBytes; ++u)
    {
        puOut[u] = static_cast<unsigned char>(g_auDIGIT_VALUES[puHex[2 * u]] << 4 | g_auDIGIT_VALUES[puHex[2 * u + 1]]);
    }
}

// The eight digits of the four bytes of a big-endian word, as they lie in memory.
uint64_t HexOf(uint32_t uBytes, bool bUpperCase)
{
    constexpr uint64_t uEACH = 0x0101010101010101;
    const uint64_t uToLetter = (bUpperCase ? 'A' : 'a') - '0' - 10;
    uint64_t uWord = uBytes;
    uWord = (uWord | uWord << 16) & 0x0000FFFF0000FFFF;
    uWord = (uWord | uWord << 8) & 0x00FF00FF00FF00FF;
    uWord = (uWord | uWord << 4) & 0x0F * uEACH;
    const uint64_t uLetters = (uWord + 6 * uEACH) >> 4 & uEACH;  // from 10 on, 6 more reach the next bit
    return __builtin_bswap64(uWord + '0' * uEACH + uLetters * uToLetter);
}

void EncodeHex(const unsigned char* puBytes, size_t uSize, bool bUpperCase, char* pszOut)
{
    for (; uSize >= g_uWORD_BYTES; uSize -= g_uWORD_BYTES)
    {
        const uint64_t uDigits = HexOf(LoadWord(puBytes, g_uWORD_BYTES), bUpperCase);
        memcpy(pszOut, &uDigits, sizeof(uDigits));
        puBytes += g_uWORD_BYTES;
        pszOut += sizeof(uDigits);
    }
    if (uSize == 0) return;
    const uint64_t uDigits = HexOf(LoadWord(puBytes, uSize), bUpperCase);
    memcpy(pszOut, &uDigits, 2 * uSize);
}

// A blob with the default allocator needs the module that has it.
struct SSingletons : CSingletonBase
{
    static IAllocator* CheckedSource(IAllocator* pAllocator)
    {
        if (pAllocator == nullptr) orvel_internal::RequireUp(ms_pmutex, "CBlob");
        return pAllocator;
    }
};

// The inline members belong to the binary interface: this makes the compiler emit them.
struct SEmitted
{
    unsigned int (CBlob::*apfnCounts[2])() const;
    unsigned char* (CBlob::*pfnFirst)();
    const unsigned char* (CBlob::*pfnConstFirst)() const;
    void (CBlob::*pfnClear)();
    QvResult (CBlob::*pfnAppend)(const unsigned char*, unsigned int);
    void (CBlob::*pfnAppendBits)(const unsigned char*, unsigned int, unsigned int);
    void (CBlob::*pfnReadBits)(unsigned char*, unsigned int, unsigned int);
};
[[gnu::used]] constexpr SEmitted g_stEMITTED = {{&CBlob::GetSize, &CBlob::GetCapacity},
                                                &CBlob::GetFirstIndexPtr,
                                                &CBlob::GetFirstIndexPtr,
                                                &CBlob::Clear,
                                                &CBlob::Append,
                                                &CBlob::AppendBits,
                                                &CBlob::ReadBits};
}  // namespace

CBlob::CBlob(IAllocator* pAllocator)
    : CVectorBase(1, false, SSingletons::CheckedSource(pAllocator)),
      m_uReadIndex(0),
      m_uReadBitOffset(0),
      m_uAppendBitsIndex(0),
      m_uAppendBitsBitOffset(0)
{
}

CBlob::CBlob(unsigned int uCapacity, IAllocator* pAllocator) : CBlob(pAllocator)
{
    static_cast<void>(ReserveCapacity(uCapacity));  // GetCapacity() tells
}

CBlob::CBlob(const unsigned char* puData, unsigned int uSize, unsigned int uCapacity, IAllocator* pAllocator)
    : CBlob(std::max(uSize, uCapacity), pAllocator)
{
    static_cast<void>(Append(puData, uSize));  // GetSize() tells
}

CBlob::CBlob(const CBlob& rSrc) : CVectorBase(rSrc)
{
    CopyMembers(rSrc);
}

CBlob::CBlob(CBlob&& rSrc) : CBlob(rSrc.m_pAllocator)
{
    *this = static_cast<CBlob&&>(rSrc);
}

CBlob::~CBlob() = default;

CBlob& CBlob::operator=(const CBlob& rSrc)
{
    if (this == &rSrc) return *this;
    CVectorBase::operator=(rSrc);
    CopyMembers(rSrc);
    return *this;
}

CBlob& CBlob::operator=(CBlob&& rSrc)
{
    ExchangeContents(rSrc);
    std::swap(m_uReadIndex, rSrc.m_uReadIndex);
    std::swap(m_uReadBitOffset, rSrc.m_uReadBitOffset);
    std::swap(m_uAppendBitsIndex, rSrc.m_uAppendBitsIndex);
    std::swap(m_uAppendBitsBitOffset, rSrc.m_uAppendBitsBitOffset);
    return *this;
}

bool CBlob::operator==(const CBlob& rOther) const
{
    return CVectorBase::operator==(rOther);
}

bool CBlob::operator!=(const CBlob& rOther) const
{
    return CVectorBase::operator!=(rOther);
}

bool CBlob::operator<(const CBlob& rOther) const
{
    return Compare(rOther) < 0;
}

QvResult CBlob::Insert(unsigned int uIndex, const unsigned char* puData, unsigned int uSize)
{
    if (uIndex > m_uSize || (puData == nullptr && uSize != 0)) return QV_RES_INVALID_ARGUMENT;
    if (uIndex == m_uSize && uSize <= m_uCapacity - m_uSize)
    {
        if (uSize != 0) memmove(GetFirstIndexPtr() + uIndex, puData, uSize);
        m_uSize += uSize;
        return QV_RES_OK;
    }
    std::unique_ptr<unsigned char[]> puOwnData;
    if (uSize <= UINT_MAX - m_uSize && Overlap(puData, uSize, GetFirstIndexPtr(), m_uCapacity))
    {
        puOwnData = CopyOf(puData, uSize);
        if (puOwnData == nullptr) return QV_RES_OUT_OF_MEMORY;
        puData = puOwnData.get();
    }
    const QvResult res = OpenGap(uIndex, uSize);
    if (res >= 0 && uSize != 0) memcpy(GetFirstIndexPtr() + uIndex, puData, uSize);
    return res;
}

QvResult CBlob::Insert(unsigned int uIndex, const CBlob& rSrc, unsigned int uStartIndex, unsigned int uSize)
{
    if (uStartIndex > rSrc.m_uSize) return QV_RES_INVALID_ARGUMENT;
    const unsigned int uRest = rSrc.m_uSize - uStartIndex;
    if (uSize == uTO_END) uSize = uRest;
    if (uSize > uRest) return QV_RES_INVALID_ARGUMENT;
    return Insert(uIndex, rSrc.GetFirstIndexPtr() + uStartIndex, uSize);
}

QvResult CBlob::Append(const CString& rText)
{
    return Append(reinterpret_cast<const unsigned char*>(rText.CStr()), rText.GetSize());
}

QvResult CBlob::Append(const char* pszText)
{
    if (pszText == nullptr) return QV_RES_INVALID_ARGUMENT;
    const size_t uSize = strlen(pszText);
    if (uSize > UINT_MAX) return QV_RES_OUT_OF_MEMORY;
    return Append(reinterpret_cast<const unsigned char*>(pszText), static_cast<unsigned int>(uSize));
}

QvResult CBlob::Assign(const unsigned char* puData, unsigned int uSize)
{
    if (puData == nullptr && uSize != 0) return QV_RES_INVALID_ARGUMENT;
    // No memory is moved for bytes of this blob, which has room for them.
    if (uSize > m_uCapacity) QV_RETURN_IF_FAILED(ReserveCapacity(uSize));
    if (uSize != 0) memmove(GetFirstIndexPtr(), puData, uSize);
    Clear();
    m_uSize = uSize;
    return QV_RES_OK;
}

QvResult CBlob::Assign(const CString& rText)
{
    return Assign(reinterpret_cast<const unsigned char*>(rText.CStr()), rText.GetSize());
}

QvResult CBlob::Assign(const char* pszText)
{
    if (pszText == nullptr) return QV_RES_INVALID_ARGUMENT;
    const size_t uSize = strlen(pszText);
    if (uSize > UINT_MAX) return QV_RES_OUT_OF_MEMORY;
    return Assign(reinterpret_cast<const unsigned char*>(pszText), static_cast<unsigned int>(uSize));
}

QvResult CBlob::AssignHex(const CString& rHex)
{
    return AssignDigits(rHex.CStr(), rHex.GetSize());
}

QvResult CBlob::AssignHex(const char* pszHex)
{
    return pszHex != nullptr ? AssignDigits(pszHex, strlen(pszHex)) : QV_RES_INVALID_ARGUMENT;
}

QvResult CBlob::ToText(CString* pstrText) const
{
    if (pstrText == nullptr) return QV_RES_INVALID_ARGUMENT;
    return pstrText->Assign(reinterpret_cast<const char*>(begin()), m_uSize);
}

QvResult CBlob::ToHex(CString* pstrHex, bool bUpperCase) const
{
    return orvel_internal::WriteText(pstrHex, uint64_t{m_uSize} * 2,
                                     [&](char* psz) { EncodeHex(begin(), m_uSize, bUpperCase, psz); });
}

void CBlob::Erase(unsigned int uIndex, unsigned int uSize)
{
    CVectorBase::Erase(uIndex, uSize);
}

QvResult CBlob::Resize(unsigned int uSize)
{
    return CVectorBase::Resize(uSize);
}

QvResult CBlob::Resize(unsigned char* puEnd)
{
    const uintptr_t uSize = reinterpret_cast<uintptr_t>(puEnd) - reinterpret_cast<uintptr_t>(m_pvStorage);
    const unsigned int uLargest = m_uCapacity != 0 ? m_uCapacity - 1 : 0;
    return uSize <= uLargest ? Resize(static_cast<unsigned int>(uSize)) : QV_RES_INVALID_ARGUMENT;
}

QvResult CBlob::ReserveCapacity(unsigned int uCapacity)
{
    return CVectorBase::ReserveCapacity(uCapacity);
}

QvResult CBlob::ReduceCapacity(unsigned int uCapacity)
{
    return CVectorBase::ReduceCapacity(uCapacity);
}

unsigned int CBlob::GetFirstIndex() const
{
    return CVectorBase::GetFirstIndex();
}

unsigned int CBlob::GetLastIndex() const
{
    return CVectorBase::GetLastIndex();
}

unsigned int CBlob::GetEndIndex() const
{
    return CVectorBase::GetEndIndex();
}

unsigned char* CBlob::GetAt(unsigned int uIndex)
{
    return static_cast<unsigned char*>(CVectorBase::GetAt(uIndex));
}

const unsigned char* CBlob::GetAt(unsigned int uIndex) const
{
    return static_cast<const unsigned char*>(CVectorBase::GetAt(uIndex));
}

unsigned char* CBlob::Read(unsigned char* puDst, unsigned int uSize)
{
    if (puDst == nullptr || uSize == 0) return nullptr;
    const unsigned char* const puSrc = ReadNoCopy(uSize);
    if (puSrc == nullptr) return nullptr;
    memmove(puDst, puSrc, uSize);
    return puDst;
}

unsigned char* CBlob::ReadNoCopy(unsigned int uSize)
{
    if (uSize > ReadableBytes()) return nullptr;
    RealignReadBits(8);
    unsigned char* const puBytes = GetAt(m_uReadIndex);
    m_uReadIndex += uSize;
    return puBytes;
}

QvResult CBlob::SetReadIndex(unsigned int uIndex)
{
    if (uIndex >= m_uSize && uIndex != 0) return QV_RES_INVALID_ARGUMENT;
    m_uReadIndex = uIndex;
    return QV_RES_OK;
}

unsigned int CBlob::GetUnreadSize() const
{
    return m_uSize - m_uReadIndex;
}

unsigned int CBlob::GetUnreadBits() const
{
    return GetUnreadSize() * 8 + (m_uReadBitOffset != 0 ? 8 - m_uReadBitOffset : 0);
}

void CBlob::AppendInSteps(const unsigned char* puSrc, unsigned int uBitCount, unsigned int uSrcBitOffset)
{
    TryAppendBits(puSrc, uBitCount, uSrcBitOffset);
}

void CBlob::ReadInSteps(unsigned char* puDst, unsigned int uBitCount, unsigned int uDstBitOffset)
{
    if (m_uReadIndex == 0) m_uReadBitOffset = 0;  // SetReadIndex() left an offset into a byte that does not exist.
    uint64_t uRemaining = std::min<uint64_t>(uBitCount, ReadableBits());
    if (puDst == nullptr || uRemaining == 0) return;
    const unsigned char* const puFirst = GetFirstIndexPtr();
    const unsigned char* puSrc = puFirst + m_uReadIndex - (m_uReadBitOffset != 0 ? 1 : 0);
    puDst += uDstBitOffset / 8;
    uDstBitOffset %= 8;
    const size_t uDstBytes = BytesHolding(uRemaining + uDstBitOffset);
    if (Overlap(puDst, uDstBytes, puFirst, m_uSize))
    {
        MoveBits(puDst, uDstBitOffset, puSrc, m_uReadBitOffset, uRemaining);
        puDst[uDstBytes - 1] &= static_cast<unsigned char>(0xFF << (uDstBytes * 8 - uDstBitOffset - uRemaining));
        SkipBits(static_cast<unsigned int>(uRemaining));
        return;
    }
    while (uRemaining != 0)
    {
        const unsigned int uChunk = ChunkSize(uRemaining, uDstBitOffset, m_uReadBitOffset);
        const uint32_t uSrcWord = LoadWord(puSrc, static_cast<size_t>(puFirst + m_uSize - puSrc));
        const uint32_t uDstWord = uDstBitOffset != 0 ? LoadWord(puDst, 1) : 0;
        StoreWord(puDst, MergeBits(uDstWord, uDstBitOffset, uSrcWord, m_uReadBitOffset, uChunk),
                  BytesHolding(uChunk + uDstBitOffset));
        Advance(puDst, uDstBitOffset, uChunk);
        Advance(puSrc, m_uReadBitOffset, uChunk);
        uRemaining -= uChunk;
    }
    m_uReadIndex = static_cast<unsigned int>(puSrc - puFirst) + (m_uReadBitOffset != 0 ? 1 : 0);
}

void CBlob::PadBits(unsigned int uBitCount)
{
    static constexpr unsigned char auZEROS[g_uWORD_BYTES] = {};
    for (bool bFirst = true; uBitCount != 0; bFirst = false)
    {
        const unsigned int uChunk = std::min(uBitCount, g_uWORD_BITS);
        if (!TryAppendBits(auZEROS, uChunk, 0)) return;
        uBitCount -= uChunk;
        if (bFirst && uBitCount > g_uWORD_BITS)
        {
            // Growth is exact, so take at once the room that the last chunk is going to ask for; or chunk by chunk.
            const size_t uCapacity = CapacityFor(uBitCount, m_uAppendBitsBitOffset, m_uSize);
            if (uCapacity <= UINT_MAX) static_cast<void>(ReserveCapacity(static_cast<unsigned int>(uCapacity)));
        }
    }
}

void CBlob::SkipBits(unsigned int uBitCount)
{
    const uint64_t uSkipped = std::min<uint64_t>(uBitCount, ReadableBits());
    if (uSkipped == 0) return;
    // Counted as if a byte were in progress: it is the byte in front of the read index.
    if (m_uReadBitOffset == 0) ++m_uReadIndex;
    m_uReadIndex += static_cast<unsigned int>((uSkipped + m_uReadBitOffset) / 8);
    m_uReadBitOffset = static_cast<unsigned int>((uSkipped + m_uReadBitOffset) % 8);
    if (m_uReadBitOffset == 0) --m_uReadIndex;
}

void CBlob::RealignReadBits(unsigned int uBitAlignment)
{
    if (uBitAlignment == 0) return;
    const uint64_t uBytes = m_uReadIndex - (m_uReadBitOffset != 0 ? 1 : 0);
    const unsigned int uBeyond = static_cast<unsigned int>((uBytes * 8 + m_uReadBitOffset) % uBitAlignment);
    if (uBeyond != 0) SkipBits(uBitAlignment - uBeyond);
}

void CBlob::RealignAppendBits(unsigned int uBitAlignment)
{
    if (uBitAlignment == 0) return;
    const uint64_t uPosition = uint64_t{m_uAppendBitsIndex} * 8 + m_uAppendBitsBitOffset;
    const unsigned int uBeyond = static_cast<unsigned int>(uPosition % uBitAlignment);
    if (uBeyond != 0) PadBits(uBitAlignment - uBeyond);
}

void CBlob::CopyMembers(const CBlob& rSrc)
{
    m_uReadIndex = rSrc.m_uReadIndex;
    m_uReadBitOffset = rSrc.m_uReadBitOffset;
    m_uAppendBitsIndex = rSrc.m_uAppendBitsIndex;
    m_uAppendBitsBitOffset = rSrc.m_uAppendBitsBitOffset;
}

QvResult CBlob::AssignDigits(const char* pszHex, size_t uDigits)
{
    const unsigned char* const puHex = reinterpret_cast<const unsigned char*>(pszHex);
    if (uDigits % 2 != 0 || !IsHex(puHex, uDigits)) return QV_RES_INVALID_ARGUMENT;
    if (uDigits / 2 > UINT_MAX) return QV_RES_OUT_OF_MEMORY;
    const unsigned int uSize = static_cast<unsigned int>(uDigits / 2);
    if (uSize > m_uCapacity) QV_RETURN_IF_FAILED(ReserveCapacity(uSize));  // not for digits in this blob
    DecodeHex(puHex, uSize, GetFirstIndexPtr());
    Clear();
    m_uSize = uSize;
    return QV_RES_OK;
}

// As the vector's Insert() of uSize bytes, but leaves them to be filled by the caller.
QvResult CBlob::OpenGap(unsigned int uIndex, unsigned int uSize)
{
    if (uSize > UINT_MAX - m_uSize) return QV_RES_OUT_OF_MEMORY;
    const QvResult res = CVectorBase::ReserveCapacity(m_uSize + uSize);
    if (res < 0) return res;
    unsigned char* const puGap = GetFirstIndexPtr() + uIndex;
    if (uIndex != m_uSize) memmove(puGap + uSize, puGap, m_uSize - uIndex);
    m_uSize += uSize;
    return res;
}

// False, with nothing appended, when there is no source or no memory.
bool CBlob::TryAppendBits(const unsigned char* puSrc, unsigned int uBitCount, unsigned int uSrcBitOffset)
{
    // The exception that Append() names, pinned by CBlobBits.BehindABoundaryReplaceASingleByteThatWasAppendedAsOne.
    if (size_t{m_uAppendBitsIndex} + 1 != m_uSize) m_uAppendBitsIndex = m_uSize;
    const size_t uCapacity = CapacityFor(uBitCount, m_uAppendBitsBitOffset, m_uSize);

    // Bytes of this blob are read from a copy: the blob may move, and change under them.
    const size_t uSrcBytes = puSrc != nullptr ? BytesHolding(uint64_t{uBitCount} + uSrcBitOffset) : 0;
    std::unique_ptr<unsigned char[]> puOwnSrc;
    if (Overlap(puSrc, uSrcBytes, GetFirstIndexPtr(), m_uCapacity))
    {
        puOwnSrc = CopyOf(puSrc, uSrcBytes);
        puSrc = puOwnSrc.get();
    }
    if (uCapacity > UINT_MAX || ReserveCapacity(static_cast<unsigned int>(uCapacity)) < 0 || puSrc == nullptr)
        return false;

    const unsigned char* const puSrcEnd = puSrc + uSrcBytes;
    puSrc += uSrcBitOffset / 8;
    uSrcBitOffset %= 8;
    for (unsigned int uRemaining = uBitCount; uRemaining != 0;)
    {
        if (m_uAppendBitsIndex == m_uSize)
        {
            ++m_uSize;
            m_uAppendBitsBitOffset = 0;
        }
        const unsigned int uChunk = ChunkSize(uRemaining, m_uAppendBitsBitOffset, uSrcBitOffset);
        unsigned char* puDst = GetFirstIndexPtr() + m_uAppendBitsIndex;
        const uint32_t uSrcWord = LoadWord(puSrc, static_cast<size_t>(puSrcEnd - puSrc));
        const uint32_t uDstWord = LoadWord(puDst, 1);
        StoreWord(puDst, MergeBits(uDstWord, m_uAppendBitsBitOffset, uSrcWord, uSrcBitOffset, uChunk), g_uWORD_BYTES);
        Advance(puSrc, uSrcBitOffset, uChunk);
        Advance(puDst, m_uAppendBitsBitOffset, uChunk);
        m_uAppendBitsIndex = static_cast<unsigned int>(puDst - GetFirstIndexPtr());
        m_uSize = m_uAppendBitsIndex + (m_uAppendBitsBitOffset != 0 ? 1 : 0);
        uRemaining -= uChunk;
    }
    return true;
}

// A cursor that Resize() left beyond the end finds nothing.
unsigned int CBlob::ReadableBytes() const
{
    return m_uReadIndex < m_uSize ? m_uSize - m_uReadIndex : 0;
}

uint64_t CBlob::ReadableBits() const
{
    if (m_uReadIndex > m_uSize) return 0;
    return uint64_t{ReadableBytes()} * 8 + (m_uReadBitOffset != 0 ? 8 - m_uReadBitOffset : 0);
}

bool CMarshaler::ExtractAll(CBlob& rBlob)
{
    const size_t uSize = GetUnreadSize();
    if (uSize > UINT_MAX || rBlob.ReserveCapacity(static_cast<unsigned int>(uSize)) < 0) return false;
    rBlob.Clear();
    Extract(rBlob.GetFirstIndexPtr(), static_cast<unsigned int>(uSize));
    return rBlob.Resize(static_cast<unsigned int>(uSize)) >= 0;
}

CMarshaler& operator<<(CMarshaler& rMarshaler, const CBlob& rBlob)
{
    rMarshaler << rBlob.GetSize();
    rMarshaler.Store(rBlob.GetFirstIndexPtr(), rBlob.GetSize());
    return rMarshaler;
}

CMarshaler& operator>>(CMarshaler& rMarshaler, CBlob& rBlob)
{
    unsigned int uSize = 0;
    rMarshaler >> uSize;
    if (rBlob.ReserveCapacity(uSize) < 0)
    {
        rMarshaler.Skip(uSize);
        return rMarshaler;
    }
    rMarshaler.Load(rBlob.GetFirstIndexPtr(), uSize);
    rBlob.Resize(uSize);
    return rMarshaler;
}
