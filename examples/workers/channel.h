#ifndef EXAMPLES_WORKERS_CHANNEL_H
#define EXAMPLES_WORKERS_CHANNEL_H
#include <cstdint>

#include "framework/framework.h"

/// What passes through a channel.
struct SRecord
{
    uint64_t uNumber = 0;
    CBlob bytes;
    bool bWhole = false;  // otherwise there was no memory for the bytes
};

/// A CMemoryQueue between threads: when it is full, those who put wait, and when it is empty, those who take.
///
/// - **Threads:** Any number on both sides.
class CChannel
{
public:
    /// Holds about uSize bytes. Throws std::bad_alloc when there is no memory for them.
    explicit CChannel(unsigned int uSize);
    CChannel(const CChannel&) = delete;
    CChannel& operator=(const CChannel&) = delete;

    /// Waits for room. False when the record is larger than the channel, or memory has run out.
    bool Put(uint64_t uNumber, const unsigned char* puData, unsigned int uSize);

    /// Waits for a record. False when the channel was closed and all that was in it is taken.
    bool Take(SRecord& rRecord);

    /// Ends the channel: call it when no more records will be put.
    void Close();

private:
    enum EOutcome
    {
        eDONE,
        eNEVER,
        eWAIT
    };
    EOutcome TryPut(uint64_t uNumber, const unsigned char* puData, unsigned int uSize);
    EOutcome TryTake(SRecord& rRecord);

    CMutex m_mutex;
    CMemoryQueue m_queue;
    bool m_bClosed = false;
    /// Signalled when another look may be worth while. A thread that looks and leaves something for others signals
    /// again.
    CBinarySemaphore m_semRoom{CBinarySemaphore::eTAKEN, false};
    CBinarySemaphore m_semRecords{CBinarySemaphore::eTAKEN, false};
};

#endif
