#ifndef FRAMEWORK_KERNEL_MEMORY_QUEUE_H
#define FRAMEWORK_KERNEL_MEMORY_QUEUE_H
#include <stdint.h>

#include "framework/kernel/export.h"

/// Rounds up to a multiple of uAlignment, a power of two, in the width of the value: what does not fit wraps.
template <typename T>
QV_EXPORT inline T QV_ALIGNUP_VAL(T uValue, unsigned long uAlignment)
{
    const T uAlign = static_cast<T>(uAlignment);
    return static_cast<T>((uValue + (uAlign - 1)) & (0 - uAlign));
}

/// The same for an address; null stays null.
template <typename T>
QV_EXPORT inline T QV_ALIGNUP_PTR(T p, long uAlignment)
{
    const uintptr_t uAddress = reinterpret_cast<uintptr_t>(p);
    return p + (QV_ALIGNUP_VAL(uAddress, static_cast<unsigned long>(uAlignment)) - uAddress);
}

extern template QV_EXPORT unsigned int QV_ALIGNUP_VAL<unsigned int>(unsigned int, unsigned long);
extern template QV_EXPORT unsigned char* QV_ALIGNUP_PTR<unsigned char*>(unsigned char*, long);

/// A ring of records of any size in one buffer, oldest first out. Records are built and read in place:
///
///     unsigned char* puPayload = queue.Push(uSize);        unsigned int uSize = 0;
///     if (puPayload == nullptr) ...  no room now            const unsigned char* puPayload = queue.Peek(&uSize);
///     memcpy(puPayload, puData, uSize);                     if (puPayload == nullptr) ...  empty
///     queue.Commit(puPayload);                              Use(puPayload, uSize);
///                                                           queue.Pop();
///
///     | oldest | ... | newest |  spare            |         | ... newest |  spare  | oldest | ... | too short |
///     begin,                  write            end,         begin        write     read           data end   end
///     read                                 data end         the writer has wrapped: one record is never split
///
/// Ownership  Owns its buffer. A payload is the producer's until Commit() and the consumer's until Pop().
/// Threads    No locking. One producer and one consumer share a queue under a lock of theirs: the producer holds it
///            from Push() to Commit(), the consumer in Peek() and in Pop(), not in between while it uses the payload.
/// Footprint  A record takes its size in 4 bytes, padding to the alignment, the payload, padding to 4 bytes: with
///            alignment 1 it takes 4 bytes more than the payload, rounded up to 4. Full and empty are told apart by a
///            gap: the writer never comes up to the oldest record, nor to the end while the oldest record is at the
///            front.
/// Cost       Constant, without allocation; payloads are never moved.
class QV_EXPORT CMemoryQueue
{
public:
    /// Without a buffer: refuses every record.
    CMemoryQueue();
    virtual ~CMemoryQueue();
    CMemoryQueue(const CMemoryQueue&) = delete;
    CMemoryQueue& operator=(const CMemoryQueue&) = delete;

    /// Allocates uSize bytes, at least 4. uAlignment is that of the payloads' addresses, a power of two; 0 means 1.
    /// False, and nothing changes, when there is a buffer already, when memory has run out, or for another alignment.
    bool Initialize(unsigned int uSize, unsigned int uAlignment);
    /// Frees the buffer with all that is in it; Initialize() may follow.
    void Uninitialize();

    /// Where the payload of a new record goes, uSize bytes; null when there is no room. The record is not in the queue
    /// before Commit(): another Push() without that starts over.
    unsigned char* Push(unsigned int uSize);

    /// Takes the record into the queue. False, and nothing changes, when puPayload is not what the last Push() gave, or
    /// was committed already; so a null Push() may be handed on unchecked.
    bool Commit(const unsigned char* puPayload);

    /// The payload of the oldest record; null when the queue is empty. *puSize, when given, becomes its size.
    unsigned char* Peek(unsigned int* puSize) const;

    /// Releases the oldest record. False when the queue is empty. A queue that becomes empty starts over at the front
    /// of its buffer, so that an empty one takes whatever a new one takes.
    bool Pop();

    bool IsEmpty() const { return m_puRead == m_puWrite; }

private:
    QV_HIDDEN uint64_t Footprint(unsigned int uSize) const;
    QV_HIDDEN bool FitsAtWrite(uint64_t uFootprint) const;
    QV_HIDDEN bool HasRoomForHeader() const;
    QV_HIDDEN void MoveWriter(unsigned char* puWrite);
    QV_HIDDEN bool WrapForFootprint(uint64_t uFootprint);
    QV_HIDDEN unsigned char* PayloadOf(unsigned char* puRecord) const;

    unsigned char* m_puBegin;
    unsigned char* m_puEnd;
    /// Where the records at the tail end, once the writer has wrapped; m_puEnd until then.
    unsigned char* m_puDataEnd;
    unsigned char* m_puRead;
    unsigned char* m_puWrite;
    unsigned int m_uAlignment;
};

#endif
