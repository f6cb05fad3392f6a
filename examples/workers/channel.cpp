#include "examples/workers/channel.h"

#include <cstring>
#include <new>

namespace
{
constexpr unsigned int g_uNUMBER_SIZE = sizeof(uint64_t);

// Does not throw, since an exception that leaves a thread ends the program. False when memory ran out.
bool SetBytes(CBlob& rBlob, const unsigned char* puData, unsigned int uSize)
{
    if (QvFailed(rBlob.Resize(0u))) return false;
    return uSize == 0 || QvSucceeded(rBlob.Append(puData, uSize));
}
}  // namespace

CChannel::CChannel(unsigned int uSize)
{
    if (!m_queue.Initialize(uSize, alignof(uint64_t))) throw std::bad_alloc();
}

bool CChannel::Put(uint64_t uNumber, const unsigned char* puData, unsigned int uSize)
{
    EOutcome eOutcome = TryPut(uNumber, puData, uSize);
    while (eOutcome == eWAIT)
    {
        m_semRoom.Wait();
        eOutcome = TryPut(uNumber, puData, uSize);
    }
    return eOutcome == eDONE;
}

bool CChannel::Take(SRecord& rRecord)
{
    EOutcome eOutcome = TryTake(rRecord);
    while (eOutcome == eWAIT)
    {
        m_semRecords.Wait();
        eOutcome = TryTake(rRecord);
    }
    return eOutcome == eDONE;
}

void CChannel::Close()
{
    {
        const CMutexGuard guard(&m_mutex);
        m_bClosed = true;
    }
    m_semRecords.Signal(false);
}

CChannel::EOutcome CChannel::TryPut(uint64_t uNumber, const unsigned char* puData, unsigned int uSize)
{
    EOutcome eOutcome = eDONE;
    {
        const CMutexGuard guard(&m_mutex);
        unsigned char* const puRecord = m_queue.Push(g_uNUMBER_SIZE + uSize);
        if (puRecord != nullptr)
        {
            std::memcpy(puRecord, &uNumber, g_uNUMBER_SIZE);
            if (uSize != 0) std::memcpy(puRecord + g_uNUMBER_SIZE, puData, uSize);
            m_queue.Commit(puRecord);
        }
        // What does not fit an empty queue will never fit.
        else eOutcome = m_queue.IsEmpty() ? eNEVER : eWAIT;
    }
    if (eOutcome == eDONE) m_semRecords.Signal(false);
    // There may be room left for another thread that waits to put.
    if (eOutcome != eWAIT) m_semRoom.Signal(false);
    return eOutcome;
}

CChannel::EOutcome CChannel::TryTake(SRecord& rRecord)
{
    bool bMore = false;
    EOutcome eOutcome = eDONE;
    {
        const CMutexGuard guard(&m_mutex);
        unsigned int uSize = 0;
        const unsigned char* const puRecord = m_queue.Peek(&uSize);
        if (puRecord != nullptr)
        {
            std::memcpy(&rRecord.uNumber, puRecord, g_uNUMBER_SIZE);
            rRecord.bWhole = SetBytes(rRecord.bytes, puRecord + g_uNUMBER_SIZE, uSize - g_uNUMBER_SIZE);
            m_queue.Pop();
        }
        else eOutcome = m_bClosed ? eNEVER : eWAIT;
        bMore = m_bClosed || !m_queue.IsEmpty();
    }
    if (bMore) m_semRecords.Signal(false);
    if (eOutcome == eDONE) m_semRoom.Signal(false);
    return eOutcome;
}
