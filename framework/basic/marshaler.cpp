// Segments and cursors. The bytes lie in a chain of segments. The last word of a segment is its link: the address of
// the next segment, or null in the last one. The first segment is a part of the object and has 56 bytes. Every other
// one is a block of CPool<CMarshaler> and has 88 bytes: the blocks have the size of a CMarshaler, 96 bytes.
// ```
//   inside the object               block of the pool            block of the pool
//   [ read | unread      | o ]----->[ unread             | o ]----->[ unread | unused       | null ]
//          ^ m_puRead    ^ m_puReadEnd                                       ^ m_puWrite    ^ m_puWriteEnd
// ```
// A cursor is a position and the end of its segment. The link lies at that end, so a cursor needs nothing else to go
// on. What always holds:
//
// - The writer is in the last segment. It appends a segment only when a byte comes that has no room, so the last
//   segment may be full.
// - The reader enters the next segment only when a byte is asked for, so it may stand at the end of its segment.
// - m_puReadEnd == m_puWriteEnd exactly while both are in one segment. The reader then stops at m_puWrite, otherwise at
//   the end of its segment: see GetReadLimit().
// - The bytes from m_puWrite to m_puWriteEnd are what the block held before, and are never read.
// - Segments stay in the chain until Clear(), also those that were read: the first one cannot be given back anyway, and
//   a copy takes the whole chain.
//
// When the pool gives no block, Insert() drops what does not fit the last segment, and a later Insert() goes on there.
// Extract() gives zeros for bytes that were not written and leaves the reader at the writer.
#include "framework/basic/marshaler.h"

#include <algorithm>

#include "framework/kernel/internal/lifetime.h"

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ && __FLT_MANT_DIG__ == 24 && __DBL_MANT_DIG__ == 53,
              "what is written low first would have to be reversed or converted");
static_assert(sizeof(int) == 4 && sizeof(long) == 8 && sizeof(long long) == 8, "the sizes in the table of encodings");
static_assert(sizeof(CMarshaler) == 96, "the size of a pool block: 88 bytes of data and a link");

template class CPool<CMarshaler>;
template QvResult InitializeCPool<CMarshaler>();
template void FinalizeCPool<CMarshaler>();

namespace
{
unsigned char* LinkAt(const unsigned char* puSegmentEnd)
{
    unsigned char* puNext;
    memcpy(&puNext, puSegmentEnd, sizeof(puNext));
    return puNext;
}

void SetLinkAt(unsigned char* puSegmentEnd, unsigned char* puNext)
{
    memcpy(puSegmentEnd, &puNext, sizeof(puNext));
}

// The inline members belong to the binary interface: this makes the compiler emit them.
template <typename T>
struct SOperators
{
    CMarshaler& (CMarshaler::*pfnInsert)(T);
    CMarshaler& (CMarshaler::*pfnExtract)(T&);
};
[[gnu::used]] constexpr SOperators<unsigned char> g_stEMITTED_8 = {&CMarshaler::operator<<, &CMarshaler::operator>> };
[[gnu::used]] constexpr SOperators<unsigned short> g_stEMITTED_16 = {&CMarshaler::operator<<, &CMarshaler::operator>> };
[[gnu::used]] constexpr SOperators<unsigned int> g_stEMITTED_32 = {&CMarshaler::operator<<, &CMarshaler::operator>> };
[[gnu::used]] constexpr SOperators<unsigned long> g_stEMITTED_64 = {&CMarshaler::operator<<, &CMarshaler::operator>> };
}  // namespace

CMarshaler::CMarshaler()
{
    ResetMembers();
}

CMarshaler::CMarshaler(const CMarshaler& rSrc) : CMarshaler()
{
    *this = rSrc;
}

CMarshaler::~CMarshaler()
{
    ReleaseSegments();
}

CMarshaler& CMarshaler::operator=(const CMarshaler& rSrc)
{
    if (this == &rSrc) return *this;
    Clear();
    const unsigned char* puSegment = rSrc.m_auInline;
    const unsigned char* puEnd = rSrc.m_auInline + uINLINE_SIZE;
    bool bReadPlaced = false;
    for (;;)
    {
        if (puEnd == rSrc.m_puReadEnd)
        {
            m_puRead = m_puWrite + (rSrc.m_puRead - puSegment);
            m_puReadEnd = m_puWriteEnd;
            bReadPlaced = true;
        }
        const unsigned char* const puNext = LinkAt(puEnd);
        m_puWrite = std::copy(puSegment, puNext != nullptr ? puEnd : static_cast<const unsigned char*>(rSrc.m_puWrite),
                              m_puWrite);
        if (puNext == nullptr || !AppendSegment()) break;
        puSegment = puNext;
        puEnd = puNext + uSEGMENT_SIZE;
    }
    if (!bReadPlaced)
    {
        // Memory ran out before the copy reached the segment with the read position: nothing is left to read.
        m_puRead = m_puWrite;
        m_puReadEnd = m_puWriteEnd;
    }
    return *this;
}

void CMarshaler::Insert(const void* pvData, unsigned int uSize)
{
    const unsigned char* puData = static_cast<const unsigned char*>(pvData);
    for (;;)
    {
        const unsigned int uRoom = static_cast<unsigned int>(m_puWriteEnd - m_puWrite);
        if (uSize <= uRoom) break;
        if (uRoom != 0)
        {
            memcpy(m_puWrite, puData, uRoom);
            m_puWrite += uRoom;
            puData += uRoom;
            uSize -= uRoom;
        }
        if (!AppendSegment()) return;
    }
    if (uSize == 0) return;  // of nothing, there need be no address
    memcpy(m_puWrite, puData, uSize);
    m_puWrite += uSize;
}

void CMarshaler::Extract(void* pvData, unsigned int uSize)
{
    unsigned char* puData = static_cast<unsigned char*>(pvData);
    for (;;)
    {
        // Negative in programs that were compiled with an older header: its inline operators could move the reader past
        // the writer. Nothing is unread then.
        const ptrdiff_t nUnread = std::max<ptrdiff_t>(GetReadLimit() - m_puRead, 0);
        const unsigned int uUnread = static_cast<unsigned int>(nUnread);
        if (uSize <= uUnread) break;
        if (uUnread != 0)
        {
            memcpy(puData, m_puRead, uUnread);
            m_puRead += uUnread;
            puData += uUnread;
            uSize -= uUnread;
        }
        if (!EnterNextSegment())
        {
            memset(puData, 0, uSize);
            return;
        }
    }
    if (uSize == 0) return;
    memcpy(puData, m_puRead, uSize);
    m_puRead += uSize;
}

void CMarshaler::Store(const void* pvData, unsigned int uSize)
{
    Insert(pvData, uSize);
}

bool CMarshaler::Load(void* pvData, unsigned int uSize)
{
    Extract(pvData, uSize);
    return true;
}

void CMarshaler::Skip(unsigned int uSize)
{
    unsigned char auSkipped[uSEGMENT_SIZE];
    for (size_t uLeft = std::min<size_t>(uSize, GetUnreadSize()); uLeft != 0;)
    {
        const unsigned int uPart = static_cast<unsigned int>(std::min(uLeft, sizeof(auSkipped)));
        Extract(auSkipped, uPart);
        uLeft -= uPart;
    }
}

size_t CMarshaler::GetUnreadSize() const
{
    if (m_puReadEnd == m_puWriteEnd) return m_puRead < m_puWrite ? static_cast<size_t>(m_puWrite - m_puRead) : 0;
    size_t uUnread = static_cast<size_t>(m_puReadEnd - m_puRead);
    const unsigned char* puSegment = LinkAt(m_puReadEnd);
    for (; puSegment + uSEGMENT_SIZE != m_puWriteEnd; puSegment = LinkAt(puSegment + uSEGMENT_SIZE))
    {
        uUnread += uSEGMENT_SIZE;
    }
    return uUnread + static_cast<size_t>(m_puWrite - puSegment);
}

void CMarshaler::Clear()
{
    ReleaseSegments();
    ResetMembers();
}

void CMarshaler::ReleaseSegments()
{
    unsigned char* puSegment = m_puInlineLink;
    while (puSegment != nullptr)
    {
        unsigned char* const puNext = LinkAt(puSegment + uSEGMENT_SIZE);
        CPool<CMarshaler>::Deallocate(puSegment);
        puSegment = puNext;
    }
}

void CMarshaler::ResetMembers()
{
    m_puWrite = m_puRead = m_auInline;
    m_puWriteEnd = m_puReadEnd = m_auInline + uINLINE_SIZE;
    m_puInlineLink = nullptr;
}

bool CMarshaler::AppendSegment()
{
    unsigned char* const puSegment = static_cast<unsigned char*>(CPool<CMarshaler>::Allocate());
    if (puSegment == nullptr)
    {
        orvel_internal::RequireUp(CPool<CMarshaler>::ms_pBlockAllocator, "CMarshaler");
        return false;
    }
    SetLinkAt(m_puWriteEnd, puSegment);
    m_puWrite = puSegment;
    m_puWriteEnd = puSegment + uSEGMENT_SIZE;
    SetLinkAt(m_puWriteEnd, nullptr);
    return true;
}
