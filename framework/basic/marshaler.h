#ifndef FRAMEWORK_BASIC_MARSHALER_H
#define FRAMEWORK_BASIC_MARSHALER_H
#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include "framework/basic/pool.h"
#include "framework/kernel/export.h"

class CBlob;

/// A first-in, first-out stream of bytes in memory, to pack values and unpack them in the same order:
/// ```
/// CMarshaler marshaler;
/// marshaler << uNumber << strText;
/// marshaler >> uNumber >> strText;
/// ```
///
/// The content is a chain of segments, of which the first is a part of the object:
/// ```
/// [ 56 bytes inside the object |-]--> [ 88 bytes of a pool block |-]--> [ 88 bytes |0]
///      ^ read pointer                                                      ^ write pointer
/// ```
///
/// - **Encoding:** One value behind the other, without tags, alignment or padding: writer and reader must agree on the
///   sequence. "Host" means the bytes as they lie in memory; they differ between machines. "Low first" means the least
///   significant byte first, and IEEE 754: the same on every machine.
///   - `unsigned char`: 1 byte.
///   - `unsigned short`, `unsigned int`, `unsigned long`: 2, 4 and 8 bytes, host.
///   - CString: 2 bytes of size, host, and the characters.
///   - CBlob: 4 bytes of size, host, and the bytes.
/// - **Encoding with marshal_values.h:**
///   - `bool`: 1 byte, which is 0 or 1.
///   - `char`, `signed char`: 1 byte.
///   - `short`, `int`, `long`, `long long`, `unsigned long long`: 2, 4, 8, 8 and 8 bytes, low first.
///   - `float`, `double`: 4 and 8 bytes, low first.
///   - `enum E : T`, `enum class E : T`: as a T.
///   - CTime: 4 bytes of Julian day and 4 of milliseconds, low first.
///   - CVector, CList, CVList: 4 bytes of count, low first, and the elements.
///   - CMap: 4 bytes of count, low first, and the key and the value of each entry.
/// - **Strangers:** Their bytes are read by CMarshalReader (marshal_reader.h), which says whether a message was whole
///   and believes no length. The `>>` of a marshaler itself is for what one's own program wrote.
/// - **Ownership:** Owns its segments, which go back to `CPool<CMarshaler>` on Clear() or destruction, not while
///   reading.
/// - **Threads:** No locking: one thread at a time; it may be handed over between writing and reading.
/// - **Lifetime:** May stand in static storage as long as it is empty at start-up and at shut-down. Writing more than
///   56 bytes before start-up or after shut-down ends the process, with a line that says so.
/// - **Cost:** 56 bytes need no allocation; longer content chains blocks and never moves what is written.
/// - **Failure:** Nothing is reported. Bytes for which memory runs out are dropped. Reading more than was written gives
///   zeros; what is written afterwards is then read from its first byte. Ask GetUnreadSize() first where there may be
///   less than is to be read.
class QV_EXPORT CMarshaler
{
public:
    /// Empty.
    CMarshaler();
    /// Copies content and read position into segments of its own.
    CMarshaler(const CMarshaler& rSrc);
    ~CMarshaler();
    /// Drops what is unread here first.
    CMarshaler& operator=(const CMarshaler& rSrc);

    /// Appends uSize bytes.
    void Insert(const void* pvData, unsigned int uSize);
    /// Takes the next uSize bytes. Those that were not written are zeros, and the reader stays behind the last written
    /// one.
    void Extract(void* pvData, unsigned int uSize);
    /// Takes all that is unread as the whole content of a blob, whose cursors go to its beginning; nothing unread makes
    /// it empty. Cost: one block, if the blob's capacity is less. Declared here, defined with CBlob.
    ///
    /// - **Result:** true; or false, with the blob and what is unread as they were, where the blob's allocator gives no
    ///   block or 4 GiB and more are unread.
    bool ExtractAll(CBlob& rBlob);
    /// Insert() under the name that the operators of composite types use.
    void Store(const void* pvData, unsigned int uSize);
    /// Extract() under the name that the operators of composite types use; returns true.
    bool Load(void* pvData, unsigned int uSize);

    /// Passes over the next uSize bytes, or over all unread ones if there are fewer.
    void Skip(unsigned int uSize);

    /// How many bytes were inserted and not yet extracted. Cost: a walk over the segments between.
    size_t GetUnreadSize() const;

    /// Back to the empty state, with the segments returned to the pool.
    void Clear();
    /// The first step of Clear(). Never call it alone: the pointers then lead to segments that were given back.
    void ReleaseSegments();
    /// The second step of Clear(). Never call it alone: segments are then lost.
    void ResetMembers();

    /// Appends a number; the class says how it is encoded.
    CMarshaler& operator<<(unsigned char uValue) { return InsertValue(uValue); }
    CMarshaler& operator<<(unsigned short uValue) { return InsertValue(uValue); }
    CMarshaler& operator<<(unsigned int uValue) { return InsertValue(uValue); }
    CMarshaler& operator<<(unsigned long uValue) { return InsertValue(uValue); }
    /// Takes the next number; 0 where it was not written.
    CMarshaler& operator>>(unsigned char& ruValue) { return ExtractValue(ruValue); }
    CMarshaler& operator>>(unsigned short& ruValue) { return ExtractValue(ruValue); }
    CMarshaler& operator>>(unsigned int& ruValue) { return ExtractValue(ruValue); }
    CMarshaler& operator>>(unsigned long& ruValue) { return ExtractValue(ruValue); }

private:
    friend class CMarshalReader;

    static constexpr unsigned int uINLINE_SIZE = 56;
    static constexpr unsigned int uSEGMENT_SIZE = 88;

    QV_HIDDEN bool AppendSegment();
    QV_HIDDEN bool EnterNextSegment();

    // The positions are copied into locals first, and both paths end in one store of them: the compiler must assume
    // that storing bytes changes any member, but can then keep a position in a register from one value to the next. A
    // value that crosses segments is copied before its address is taken: otherwise it would have to be in memory on the
    // fast path, too.
    template <typename T>
    QV_HIDDEN CMarshaler& InsertValue(T value)
    {
        unsigned char* puWrite = m_puWrite;
        if (orvel_internal::IsLikely(static_cast<size_t>(m_puWriteEnd - puWrite) >= sizeof(T)))
        {
            memcpy(puWrite, &value, sizeof(T));
            puWrite += sizeof(T);
        }
        else
        {
            const T copy = value;
            Insert(&copy, sizeof(T));
            puWrite = m_puWrite;
        }
        m_puWrite = puWrite;
        return *this;
    }
    template <typename T>
    QV_HIDDEN CMarshaler& ExtractValue(T& rValue)
    {
        unsigned char* puRead = m_puRead;
        T value;
        if (orvel_internal::IsLikely(CanRead(puRead, sizeof(T))))
        {
            memcpy(&value, puRead, sizeof(T));
            puRead += sizeof(T);
        }
        else
        {
            value = ExtractAcrossSegments<T>();
            puRead = m_puRead;
        }
        m_puRead = puRead;
        rValue = value;
        return *this;
    }
    // Whether uSize bytes from puRead on were written and lie in the reader's segment; at times false though they do.
    // Both conditions nearly always hold, wherever the writer is: GetReadLimit() would jump for one of its two places.
    // The second one asks only how far the writer is ahead. A writer in another segment is at least uSize bytes ahead,
    // or behind. One that is at most a segment behind may also be in the same segment, where a program that was
    // compiled with an older header moved the reader past it: ExtractAcrossSegments() looks closer.
    QV_HIDDEN bool CanRead(const unsigned char* puRead, size_t uSize) const
    {
        const uintptr_t uRead = reinterpret_cast<uintptr_t>(puRead);
        return reinterpret_cast<uintptr_t>(m_puReadEnd) - uRead >= uSize &&
               reinterpret_cast<uintptr_t>(m_puWrite) - uRead - uSize < UINTPTR_MAX - uSEGMENT_SIZE - uSize;
    }
    template <typename T>
    QV_HIDDEN __attribute__((noinline)) T ExtractAcrossSegments()
    {
        T value;
        if (m_puRead == m_puReadEnd) EnterNextSegment();
        if (GetReadLimit() - m_puRead >= static_cast<ptrdiff_t>(sizeof(T)))
        {
            memcpy(&value, m_puRead, sizeof(T));
            m_puRead += sizeof(T);
        }
        else Extract(&value, sizeof(T));
        return value;
    }
    // The end of what can be read in the reader's segment: the writer, if it is in the same segment.
    QV_HIDDEN unsigned char* GetReadLimit() const { return m_puReadEnd == m_puWriteEnd ? m_puWrite : m_puReadEnd; }

    // A segment's end is the address of its link word.
    unsigned char* m_puWrite;
    unsigned char* m_puWriteEnd;
    unsigned char* m_puRead;
    unsigned char* m_puReadEnd;
    unsigned char m_auInline[uINLINE_SIZE];
    unsigned char* m_puInlineLink;
};

inline bool CMarshaler::EnterNextSegment()
{
    unsigned char* puNext;
    memcpy(&puNext, m_puReadEnd, sizeof(puNext));
    if (puNext == nullptr) return false;
    m_puRead = puNext;
    m_puReadEnd = puNext + uSEGMENT_SIZE;
    return true;
}

extern template class CPool<CMarshaler>;
extern template QvResult InitializeCPool<CMarshaler>();
extern template void FinalizeCPool<CMarshaler>();

#endif
