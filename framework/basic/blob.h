#ifndef FRAMEWORK_BASIC_BLOB_H
#define FRAMEWORK_BASIC_BLOB_H
#include <stdint.h>

#include <type_traits>

#include "framework/basic/marshaler.h"
#include "framework/basic/vector.h"
#include "framework/kernel/export.h"
#include "framework/kernel/result.h"

/// A growable run of bytes with cursors: filled by appending, drained by reading, whole bytes or single bits.
///
///     |<---- read ---->|<---- unread ---->|<---- spare ---->|
///     0           read index            size            capacity
///
/// Bits are counted from the most significant of each byte (network order) and cross byte boundaries. The append
/// cursor for bits stays at the bit behind the last one appended while that byte is the blob's last; otherwise the next
/// AppendBits() starts a new byte. There is one exception, which is kept because callers know it: when a single byte
/// was appended as a byte behind bits that ended on a byte boundary, or as the first of the blob, AppendBits() replaces
/// that byte. So, where bits follow, append bytes by AppendBits() as well.
///
/// Ownership  Owns its bytes. Borrows the allocator, which must outlive it; null means the default allocator.
/// Threads    No locking: one thread at a time per blob; different blobs are as independent as their allocators.
/// Growth     Exact, never rounded up: n appends cost n reallocations unless ReserveCapacity() comes first.
/// Cursors    Set by construction, assignment, SetReadIndex() and the reading and bit operations only: appending bytes,
///            Resize() and extraction from a marshaler leave them where they were.
/// Failure    Reported as QvResult or a null pointer, with the blob as it was. Construction throws what operator new[]
///            throws (one byte is held aside).
///
/// - **Lifetime:** With the default allocator, between the start-up and the shut-down of the framework: made outside
///   it, a blob ends the process with a line that says so. One that has storage is destroyed before the shut-down.
class QV_EXPORT CBlob : private CVectorBase
{
public:
    /// Stands for "up to the end" where a number of bytes is asked for.
    static constexpr unsigned int uTO_END = 0xFFFFFFFF;

    explicit CBlob(IAllocator* pAllocator = nullptr);
    /// An empty blob with room for uCapacity bytes, if memory allows: GetCapacity() tells.
    CBlob(unsigned int uCapacity, IAllocator* pAllocator);
    /// A copy of uSize bytes in the larger of uSize and uCapacity bytes of room, empty if memory does not allow.
    CBlob(const unsigned char* puData, unsigned int uSize, unsigned int uCapacity, IAllocator* pAllocator = nullptr);
    // The same without more room. A template, lest CBlob(0, NULL) could mean this as well as a capacity.
    template <typename TByte, typename = typename std::enable_if<std::is_same<TByte, unsigned char>::value>::type>
    QV_HIDDEN CBlob(const TByte* puData, unsigned int uSize) : CBlob(puData, uSize, 0, nullptr)
    {
    }
    /// Same allocator, capacity, bytes and cursors.
    CBlob(const CBlob& rSrc);
    /// Takes everything; rSrc is empty afterwards.
    CBlob(CBlob&& rSrc);
    ~CBlob() override;
    /// Copies the bytes and the cursors; the bytes stay as they were if memory runs out.
    CBlob& operator=(const CBlob& rSrc);
    /// The two blobs exchange everything.
    CBlob& operator=(CBlob&& rSrc);

    /// Compares sizes and bytes, not cursors.
    bool operator==(const CBlob& rOther) const;
    bool operator!=(const CBlob& rOther) const;
    /// Lexicographic order of the bytes.
    bool operator<(const CBlob& rOther) const;

    /// Puts uSize bytes in front of index uIndex (GetSize() appends). They may be bytes of this blob.
    /// Cost: moves the bytes behind uIndex; at the end and within the capacity, one copy and no allocation.
    /// QV_RES_OK                the bytes are in
    /// QV_RES_INVALID_ARGUMENT  uIndex is above the size, or puData is null and uSize is not 0
    /// QV_RES_OUT_OF_MEMORY     the allocator gave no block
    QvResult Insert(unsigned int uIndex, const unsigned char* puData, unsigned int uSize);
    /// The same with uSize bytes of rSrc from uStartIndex on; uTO_END means up to its end.
    /// QV_RES_INVALID_ARGUMENT  also: they pass the end of rSrc
    QvResult Insert(unsigned int uIndex, const CBlob& rSrc, unsigned int uStartIndex, unsigned int uSize);
    /// Insert() at the end.
    QvResult Append(const unsigned char* puData, unsigned int uSize);
    /// Removes up to uSize bytes from uIndex on; nothing happens when uIndex is no byte. Cursors and capacity stay.
    void Erase(unsigned int uIndex, unsigned int uSize);
    /// Removes all bytes and sets the cursors to 0; the capacity stays.
    void Clear();

    /// Sets the size within the capacity; bytes that come in are what the storage held.
    /// QV_RES_INVALID_ARGUMENT  uSize is above the capacity
    QvResult Resize(unsigned int uSize);
    /// The same by the address behind the last byte, for callers that wrote through GetFirstIndexPtr(). The address
    /// behind the full capacity is refused: the largest size settable this way is one less.
    /// QV_RES_INVALID_ARGUMENT  puEnd is before the first byte, or behind the capacity's last one
    QvResult Resize(unsigned char* puEnd);
    /// Makes the capacity exactly uCapacity if it is less.
    /// QV_RES_OUT_OF_MEMORY  the allocator gave no block
    QvResult ReserveCapacity(unsigned int uCapacity);
    /// Makes the capacity exactly the larger of uCapacity and the size, if it is more.
    /// QV_RES_OUT_OF_MEMORY  the allocator gave no block
    QvResult ReduceCapacity(unsigned int uCapacity);

    unsigned int GetSize() const { return m_uSize; }
    unsigned int GetCapacity() const { return m_uCapacity; }
    bool IsEmpty() const { return m_uSize == 0; }
    unsigned int GetFirstIndex() const;
    /// GetSize() - 1: 0xFFFFFFFF when empty.
    unsigned int GetLastIndex() const;
    unsigned int GetEndIndex() const;
    /// The byte at an index below the size, else null.
    unsigned char* GetAt(unsigned int uIndex);
    const unsigned char* GetAt(unsigned int uIndex) const;
    /// The storage, GetCapacity() bytes; null when the capacity is 0.
    unsigned char* GetFirstIndexPtr() { return static_cast<unsigned char*>(m_pvStorage); }
    const unsigned char* GetFirstIndexPtr() const { return static_cast<const unsigned char*>(m_pvStorage); }
    /// For range-for and the standard algorithms: all bytes, read or not, valid until the blob changes.
    unsigned char* begin() { return GetFirstIndexPtr(); }
    unsigned char* end() { return begin() + m_uSize; }
    const unsigned char* begin() const { return GetFirstIndexPtr(); }
    const unsigned char* end() const { return begin() + m_uSize; }

    /// Copies the next uSize unread bytes to puDst and returns it. The rest of a partly read byte is skipped first.
    /// Null, with nothing read, when puDst is null, uSize is 0 or fewer whole bytes are unread.
    unsigned char* Read(unsigned char* puDst, unsigned int uSize);
    /// The same without a copy: the bytes in place, valid until the blob changes. A uSize of 0 is allowed here: it only
    /// skips the rest of a partly read byte, and the result is null when no byte follows.
    unsigned char* ReadNoCopy(unsigned int uSize);
    /// Moves the read cursor to a byte. A bit offset inside a byte stays, and then means the byte before the index:
    /// RealignReadBits(8) drops it. At index 0 there is no such byte; ReadBits() drops the offset there itself.
    /// QV_RES_INVALID_ARGUMENT  uIndex is not below the size (0 always is allowed)
    QvResult SetReadIndex(unsigned int uIndex);
    /// Whole unread bytes: the size less the read index, which wraps when Resize() left the cursor beyond the end. The
    /// reading operations then find nothing unread.
    unsigned int GetUnreadSize() const;
    /// The same in bits, those of a partly read byte included. 32 bits: wraps from 512 MiB on.
    unsigned int GetUnreadBits() const;

    /// Appends uBitCount bits of puSrc, beginning uSrcBitOffset bits into its first byte. Only the bytes that hold
    /// those bits are read; they may be bytes of this blob. Reserves four bytes more than the bits need. Nothing
    /// happens when memory runs out, and nothing tells: reserve first where it might.
    /// Cost: up to 32 bits a step.
    void AppendBits(const unsigned char* puSrc, unsigned int uBitCount, unsigned int uSrcBitOffset);
    /// Reads up to uBitCount bits, no more than are unread, to uDstBitOffset bits into the first byte of puDst. The
    /// bits of puDst before them are kept, those behind them in the last byte written become 0. Nothing happens
    /// when puDst is null. puDst may be in this blob: what it gets are the bits as they were before.
    /// Cost: up to 32 bits a step; a single one where puDst is in this blob.
    void ReadBits(unsigned char* puDst, unsigned int uBitCount, unsigned int uDstBitOffset);
    /// Appends uBitCount zero bits.
    void PadBits(unsigned int uBitCount);
    /// Moves the read cursor over uBitCount bits, no more than are unread.
    void SkipBits(unsigned int uBitCount);
    /// Skips to the next bit position that is a multiple of uBitAlignment, counted from the blob's first bit; nothing
    /// happens at one, or for an alignment of 0.
    void RealignReadBits(unsigned int uBitAlignment);
    /// Pads to the next bit position of the append cursor that is a multiple of uBitAlignment; likewise.
    void RealignAppendBits(unsigned int uBitAlignment);

    /// Takes the cursors of another blob, not its bytes.
    void CopyMembers(const CBlob& rSrc);

private:
    QV_HIDDEN unsigned int ReadableBytes() const;
    QV_HIDDEN uint64_t ReadableBits() const;
    QV_HIDDEN QvResult OpenGap(unsigned int uIndex, unsigned int uSize);
    QV_HIDDEN bool TryAppendBits(const unsigned char* puSrc, unsigned int uBitCount, unsigned int uSrcBitOffset);

    unsigned int m_uReadIndex;
    unsigned int m_uReadBitOffset;
    unsigned int m_uAppendBitsIndex;
    unsigned int m_uAppendBitsBitOffset;
};

/// Writes the size as 32 bits, then the bytes.
QV_EXPORT CMarshaler& operator<<(CMarshaler& rMarshaler, const CBlob& rBlob);
/// Reads them back over the blob's bytes; the cursors stay. If memory does not allow, the bytes are skipped and the
/// blob stays as it was. A length is not checked: where the content may be foreign, compare it with
/// CMarshaler::GetUnreadSize() first.
QV_EXPORT CMarshaler& operator>>(CMarshaler& rMarshaler, CBlob& rBlob);

#endif
