#include "framework/kernel/memory_queue.h"

#include <limits.h>
#include <string.h>

#include <algorithm>
#include <new>

static_assert(sizeof(CMemoryQueue) == 56, "field order and widths are the binary interface");

template QV_EXPORT unsigned int QV_ALIGNUP_VAL<unsigned int>(unsigned int, unsigned long);
template QV_EXPORT unsigned char* QV_ALIGNUP_PTR<unsigned char*>(unsigned char*, long);

namespace
{
// Records begin at multiples of it, so a header never lies across the end, and the payload begins at most one alignment
// (or one header, if that is larger) behind the record.
constexpr unsigned int g_uHeaderSize = 4;

// What the header says of a record that no Push() has begun: a size that fits nowhere, so that Commit() does not take
// the record that lay there before.
constexpr unsigned int g_uNoRecord = UINT_MAX;

uint64_t Distance(const unsigned char* puFrom, const unsigned char* puTo)
{
    return static_cast<uint64_t>(puTo - puFrom);
}

unsigned int LoadSize(const unsigned char* puRecord)
{
    unsigned int uSize;
    memcpy(&uSize, puRecord, g_uHeaderSize);
    return uSize;
}

void StoreSize(unsigned char* puRecord, unsigned int uSize)
{
    memcpy(puRecord, &uSize, g_uHeaderSize);
}
}  // namespace

CMemoryQueue::CMemoryQueue()
    : m_puBegin(nullptr), m_puEnd(nullptr), m_puDataEnd(nullptr), m_puRead(nullptr), m_puWrite(nullptr), m_uAlignment(0)
{
}

CMemoryQueue::~CMemoryQueue()
{
    Uninitialize();
}

bool CMemoryQueue::Initialize(unsigned int uSize, unsigned int uAlignment)
{
    if (m_puBegin != nullptr || (uAlignment & (uAlignment - 1)) != 0) return false;
    const unsigned int uBufferSize = std::max(uSize, g_uHeaderSize);
    m_puBegin = new (std::nothrow) unsigned char[uBufferSize];
    if (m_puBegin == nullptr) return false;
    m_puDataEnd = m_puEnd = m_puBegin + uBufferSize;
    m_puRead = m_puBegin;
    MoveWriter(m_puBegin);
    m_uAlignment = std::max(uAlignment, 1U);
    return true;
}

void CMemoryQueue::Uninitialize()
{
    delete[] m_puBegin;
    m_puBegin = m_puEnd = m_puDataEnd = m_puRead = m_puWrite = nullptr;
    m_uAlignment = 0;
}

unsigned char* CMemoryQueue::Push(unsigned int uSize)
{
    if (m_puBegin == nullptr) return nullptr;
    const uint64_t uFootprint = Footprint(uSize);
    if (!FitsAtWrite(uFootprint) && !WrapForFootprint(uFootprint)) return nullptr;
    StoreSize(m_puWrite, uSize);
    return PayloadOf(m_puWrite);
}

bool CMemoryQueue::Commit(const unsigned char* puPayload)
{
    if (puPayload == nullptr || !HasRoomForHeader()) return false;
    if (puPayload != PayloadOf(m_puWrite)) return false;
    const unsigned int uSize = LoadSize(m_puWrite);
    if (uSize == g_uNoRecord) return false;
    MoveWriter(m_puWrite + Footprint(uSize));
    return true;
}

unsigned char* CMemoryQueue::Peek(unsigned int* puSize) const
{
    if (IsEmpty()) return nullptr;
    if (puSize != nullptr) *puSize = LoadSize(m_puRead);
    return PayloadOf(m_puRead);
}

bool CMemoryQueue::Pop()
{
    if (IsEmpty()) return false;
    m_puRead += Footprint(LoadSize(m_puRead));
    if (m_puRead == m_puWrite)
    {
        m_puRead = m_puBegin;
        m_puDataEnd = m_puEnd;
        MoveWriter(m_puBegin);
    }
    else if (m_puRead == m_puDataEnd)
    {
        m_puRead = m_puBegin;
        m_puDataEnd = m_puEnd;
    }
    return true;
}

// In 64 bits, so that no size wraps to a small one.
uint64_t CMemoryQueue::Footprint(unsigned int uSize) const
{
    const uint64_t uHeader = QV_ALIGNUP_VAL<uint64_t>(g_uHeaderSize, m_uAlignment);
    return QV_ALIGNUP_VAL<uint64_t>(uHeader + uSize, g_uHeaderSize);
}

bool CMemoryQueue::FitsAtWrite(uint64_t uFootprint) const
{
    // The writer that has wrapped never reaches the reader: that would look like an empty queue.
    if (m_puWrite < m_puRead) return uFootprint < Distance(m_puWrite, m_puRead);
    const uint64_t uTail = Distance(m_puWrite, m_puEnd);
    // Nor does it fill the tail while the reader is at the front, where it would have to go on.
    return uFootprint < uTail || (uFootprint == uTail && m_puRead != m_puBegin);
}

// At the tail there may be less; in front of the reader there is always that much.
bool CMemoryQueue::HasRoomForHeader() const
{
    return Distance(m_puWrite, m_puEnd) >= g_uHeaderSize;
}

void CMemoryQueue::MoveWriter(unsigned char* puWrite)
{
    m_puWrite = puWrite;
    if (HasRoomForHeader()) StoreSize(m_puWrite, g_uNoRecord);
}

// Moves the writer to the front if the tail is too short for the record and the front is not.
bool CMemoryQueue::WrapForFootprint(uint64_t uFootprint)
{
    const bool bWrapped = m_puWrite < m_puRead;
    if (bWrapped || uFootprint >= Distance(m_puBegin, m_puRead)) return false;
    if (IsEmpty()) m_puRead = m_puBegin;
    else m_puDataEnd = m_puWrite;
    m_puWrite = m_puBegin;
    return true;
}

unsigned char* CMemoryQueue::PayloadOf(unsigned char* puRecord) const
{
    return QV_ALIGNUP_PTR(puRecord + g_uHeaderSize, static_cast<long>(m_uAlignment));
}
