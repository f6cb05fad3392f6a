#ifndef FRAMEWORK_KERNEL_MEMORY_QUEUE_H
#define FRAMEWORK_KERNEL_MEMORY_QUEUE_H
#include <stdint.h>
#include <string.h>

#include "framework/kernel/export.h"

/// Rounds up to a multiple of uAlignment, a power of two, in the width of the value: what does not fit wraps.
template <typename T>
QV_EXPORT inline T QV_ALIGNUP_VAL(T uValue, unsigned long uAlignment)
{
    const T uAlign = static_cast<T>(uAlignment);
    return static_cast<T>((uValue + (uAlign - 1)) & (0 - uAlign));
}

/// Rounds an address up, as QV_ALIGNUP_VAL() does with numbers; null stays null.
template <typename T>
QV_EXPORT inline T QV_ALIGNUP_PTR(T p, long uAlignment)
{
    const uintptr_t uAddress = reinterpret_cast<uintptr_t>(p);
    return p + (QV_ALIGNUP_VAL(uAddress, static_cast<unsigned long>(uAlignment)) - uAddress);
}

extern template QV_EXPORT unsigned int QV_ALIGNUP_VAL<unsigned int>(unsigned int, unsigned long);
extern template QV_EXPORT unsigned char* QV_ALIGNUP_PTR<unsigned char*>(unsigned char*, long);

/// A ring of records of any size in one buffer, oldest first out. Records are built and read in place:
/// ```
/// unsigned char* puPayload = queue.Push(uSize);  // null: no room now.
/// memcpy(puPayload, puData, uSize);
/// queue.Commit(puPayload);
///
/// unsigned char* puPayload = queue.Peek(&uSize);  // null: empty.
/// Use(puPayload, uSize);
/// queue.Pop();
/// ```
/// or copied in and out:
/// ```
/// bool bDone = queue.PushCopy(&stRecord, sizeof(stRecord));
/// bool bDone = queue.PopCopy(&stRecord, sizeof(stRecord));
/// ```
///
/// The buffer, at first and when the writer has wrapped:
/// ```
/// | oldest | ... | newest |  spare            |         | ... newest |  spare  | oldest | ... | too short |
/// begin,                  write            end,         begin        write     read           data end   end
/// read                                 data end         the writer has wrapped: one record is never split
/// ```
///
/// - **Ownership:** Owns its buffer. A payload is the producer's until Commit() and the consumer's until Pop().
/// - **Threads:** No locking. One producer and one consumer share a queue under a lock of theirs: the producer holds it
///   from Push() to Commit(), the consumer in Peek() and in Pop(), not in between while it uses the payload.
/// - **Footprint:** A record takes its size in 4 bytes, padding to the alignment, the payload, padding to 4 bytes: with
///   alignment 1 it takes 4 bytes more than the payload, rounded up to 4. Full and empty are told apart by a gap: the
///   writer never comes up to the oldest record, nor to the end while the oldest record is at the front.
/// - **Cost:** Constant, without allocation; payloads are never moved. All but Initialize() and Uninitialize() is
///   inline; records of one size are fastest copied in and out.
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
    unsigned char* Push(unsigned int uSize)
    {
        const uint64_t uFootprint = Footprint(uSize);
        if (orvel_internal::IsUnlikely(!HasAmpleRoom(m_puWrite, uFootprint)) && !MakeRoom(uFootprint)) return nullptr;
        unsigned char* const puRecord = m_puWrite;
        unsigned char* const puPayload = PayloadOf(puRecord);
        StoreSize(puRecord, uSize);
        return puPayload;
    }

    /// Takes the record into the queue. False, and nothing changes, when puPayload is not what the last Push() gave, or
    /// was committed already; so a null Push() may be handed on unchecked.
    bool Commit(const unsigned char* puPayload)
    {
        unsigned char* const puRecord = m_puWrite;
        if (!HasRoomForHeader(puRecord) || puPayload != PayloadOf(puRecord)) return false;
        const unsigned int uSize = LoadSize(puRecord);
        if (uSize == uNO_RECORD) return false;
        MoveWriter(puRecord + Footprint(uSize));
        return true;
    }

    /// The payload of the oldest record; null when the queue is empty. *puSize, when given, becomes its size.
    unsigned char* Peek(unsigned int* puSize) const
    {
        if (IsEmpty()) return nullptr;
        unsigned char* const puRecord = m_puRead;
        unsigned char* const puPayload = PayloadOf(puRecord);
        if (puSize != nullptr) *puSize = LoadSize(puRecord);
        return puPayload;
    }

    /// Releases the oldest record. False when the queue is empty. A queue that becomes empty starts over at the front
    /// of its buffer, so that an empty one takes whatever a new one takes.
    bool Pop()
    {
        unsigned char* const puRecord = m_puRead;
        if (puRecord == m_puWrite) return false;
        MoveReader(puRecord + Footprint(LoadSize(puRecord)));
        return true;
    }

    /// Push(), a copy of uSize bytes and Commit() in one. False when there is no room. pvRecord must not point into
    /// this queue; it may be null for a size of 0.
    bool PushCopy(const void* pvRecord, unsigned int uSize)
    {
        const uint64_t uFootprint = Footprint(uSize);
        unsigned char* const puRecord = m_puWrite;
        if (orvel_internal::IsUnlikely(!HasAmpleRoom(puRecord, uFootprint))) return PushCopyTight(pvRecord, uSize);
        unsigned char* const puPayload = PayloadOf(puRecord);
        unsigned char* const puNext = puRecord + uFootprint;
        m_puWrite = puNext;
        StoreSize(puRecord, uSize);
        StoreSize(puNext, uNO_RECORD);
        if (uSize != 0) memcpy(puPayload, pvRecord, uSize);
        return true;
    }

    /// Peek(), a copy and Pop() in one. False, and nothing changes, when the queue is empty, or when the oldest record
    /// is not one of uSize bytes. pvRecord must not point into this queue; it may be null for a size of 0.
    bool PopCopy(void* pvRecord, unsigned int uSize)
    {
        unsigned char* const puRecord = m_puRead;
        if (puRecord == m_puWrite || LoadSize(puRecord) != uSize) return false;
        const unsigned char* const puPayload = PayloadOf(puRecord);
        // With the caller's size: all that follows would wait for the one in the header. And before the copy, since the
        // compiler must assume that the copy changes the fields; the payload stays as it is.
        MoveReader(puRecord + Footprint(uSize));
        if (uSize != 0) memcpy(pvRecord, puPayload, uSize);
        return true;
    }

    /// Whether no record was committed that was not popped.
    bool IsEmpty() const { return m_puRead == m_puWrite; }

private:
    /// Records begin at multiples of it, so a header never lies across the end, and the payload begins at most one
    /// alignment (or one header, if that is larger) behind the record.
    static constexpr unsigned int uHEADER_SIZE = 4;
    /// What the header says of a record that no Push() has begun: a size that fits nowhere, so that Commit() does not
    /// take the record that lay there before.
    static constexpr unsigned int uNO_RECORD = 0xFFFFFFFF;

    static uint64_t Distance(const unsigned char* puFrom, const unsigned char* puTo)
    {
        return static_cast<uint64_t>(puTo - puFrom);
    }
    static unsigned int LoadSize(const unsigned char* puRecord)
    {
        unsigned int uSize;
        memcpy(&uSize, puRecord, uHEADER_SIZE);
        return uSize;
    }
    static void StoreSize(unsigned char* puRecord, unsigned int uSize) { memcpy(puRecord, &uSize, uHEADER_SIZE); }

    /// In 64 bits, so that no size wraps to a small one.
    uint64_t Footprint(unsigned int uSize) const
    {
        // The aligned header is the larger of two powers of two, which is the one rounded up to the other. (Without a
        // buffer the alignment is 0, and so is the header; nothing fits.) It is a multiple of 4, so the size is rounded
        // up on its own, for a constant one by the compiler.
        return QV_ALIGNUP_VAL<uint64_t>(m_uAlignment, uHEADER_SIZE) + QV_ALIGNUP_VAL<uint64_t>(uSize, uHEADER_SIZE);
    }
    unsigned char* PayloadOf(unsigned char* puRecord) const
    {
        return QV_ALIGNUP_PTR(puRecord + uHEADER_SIZE, static_cast<long>(m_uAlignment));
    }
    /// Whether there is room for a record at the writer and for a header behind it: the usual case, in one comparison.
    bool HasAmpleRoom(const unsigned char* puWrite, uint64_t uFootprint) const
    {
        const unsigned char* const puRead = m_puRead;
        const unsigned char* puLimit = m_puEnd;
        if (puWrite < puRead) puLimit = puRead;
        // Below 0 where the record alone does not fit.
        const int64_t nBehind = static_cast<int64_t>(Distance(puWrite, puLimit) - uFootprint);
        return nBehind >= int64_t{uHEADER_SIZE};
    }
    /// What HasAmpleRoom() does not tell: brings the writer to where the record fits, if anywhere. Apart, as is all
    /// that few records need, so that what most need stays short.
    [[gnu::noinline]] QV_HIDDEN bool MakeRoom(uint64_t uFootprint)
    {
        return FitsAtWrite(uFootprint) || WrapForFootprint(uFootprint);
    }
    [[gnu::noinline]] QV_HIDDEN bool PushCopyTight(const void* pvRecord, unsigned int uSize)
    {
        const uint64_t uFootprint = Footprint(uSize);
        if (!MakeRoom(uFootprint)) return false;
        unsigned char* const puRecord = m_puWrite;
        MoveWriter(puRecord + uFootprint);
        unsigned char* const puPayload = PayloadOf(puRecord);
        StoreSize(puRecord, uSize);
        if (uSize != 0) memcpy(puPayload, pvRecord, uSize);
        return true;
    }
    bool FitsAtWrite(uint64_t uFootprint) const
    {
        // The writer that has wrapped never reaches the reader: that would look like an empty queue.
        if (m_puWrite < m_puRead) return uFootprint < Distance(m_puWrite, m_puRead);
        const uint64_t uTail = Distance(m_puWrite, m_puEnd);
        // Nor does it fill the tail while the reader is at the front, where it would have to go on.
        return uFootprint < uTail || (uFootprint == uTail && m_puRead != m_puBegin);
    }
    /// Moves the writer to the front if the tail is too short for the record and the front is not.
    bool WrapForFootprint(uint64_t uFootprint)
    {
        const bool bWrapped = m_puWrite < m_puRead;
        if (bWrapped || uFootprint >= Distance(m_puBegin, m_puRead)) return false;
        if (IsEmpty()) m_puRead = m_puBegin;
        else m_puDataEnd = m_puWrite;
        m_puWrite = m_puBegin;
        return true;
    }
    /// At the tail there may be less; in front of the reader there is always that much.
    bool HasRoomForHeader(const unsigned char* puWrite) const { return Distance(puWrite, m_puEnd) >= uHEADER_SIZE; }
    void MoveWriter(unsigned char* puWrite)
    {
        m_puWrite = puWrite;
        if (HasRoomForHeader(puWrite)) StoreSize(puWrite, uNO_RECORD);
    }
    /// Behind the oldest record. Branches, not conditional moves: what is stored then waits for no comparison.
    void MoveReader(unsigned char* puNext)
    {
        if (orvel_internal::IsLikely(puNext != m_puWrite && puNext != m_puDataEnd))
        {
            m_puRead = puNext;
            return;
        }
        // Behind the newest record, or behind the last one at the tail.
        const bool bEmpty = puNext == m_puWrite;
        m_puRead = m_puBegin;
        m_puDataEnd = m_puEnd;
        if (!bEmpty) return;
        m_puWrite = m_puBegin;
        StoreSize(m_puBegin, uNO_RECORD);
    }

    unsigned char* m_puBegin;
    unsigned char* m_puEnd;
    /// Where the records at the tail end, once the writer has wrapped; m_puEnd until then.
    unsigned char* m_puDataEnd;
    unsigned char* m_puRead;
    unsigned char* m_puWrite;
    unsigned int m_uAlignment;
};

#endif
