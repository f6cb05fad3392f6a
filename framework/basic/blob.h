#ifndef FRAMEWORK_BASIC_BLOB_H
#define FRAMEWORK_BASIC_BLOB_H
#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include <initializer_list>
#include <type_traits>

#include "framework/basic/internal/typed_elements.h"
#include "framework/basic/marshaler.h"
#include "framework/basic/vector.h"
#include "framework/kernel/export.h"
#include "framework/kernel/result.h"

namespace orvel_internal
{
// The top uCount (0 to 32) bits set.
inline uint32_t TopBits(unsigned int uCount)
{
    return static_cast<uint32_t>(~(uint64_t{0xFFFFFFFF} >> uCount));
}

// The bytes that hold uBits (1 to 32) bits, and no other, as the top of a big-endian word.
inline uint32_t LoadTop(const unsigned char* pu, unsigned int uBits)
{
    uint32_t uWord;
    if (uBits > 24) memcpy(&uWord, pu, 4);
    else if (uBits <= 8) uWord = pu[0];
    else
    {
        uint16_t uFirst;
        memcpy(&uFirst, pu, 2);
        uWord = uFirst | (uBits > 16 ? uint32_t{pu[2]} << 16 : 0);
    }
    return __builtin_bswap32(uWord);
}

inline void StoreTop(unsigned char* pu, uint32_t uWord, unsigned int uBits)
{
    // Two bytes are stored together where that is possible: a load of both as a word would wait for two separate
    // stores.
    uWord = __builtin_bswap32(uWord);
    if (uBits > 24) memcpy(pu, &uWord, 4);
    else if (uBits > 8) memcpy(pu, &uWord, 2);
    else pu[0] = static_cast<unsigned char>(uWord);
    if (uBits > 16 && uBits <= 24) pu[2] = static_cast<unsigned char>(uWord >> 16);
}
}  // namespace orvel_internal

class CString;

/// A growable run of bytes with cursors: filled by appending, drained by reading, whole bytes or single bits.
/// ```
/// |<---- read ---->|<---- unread ---->|<---- spare ---->|
/// 0           read index            size            capacity
/// ```
///
/// Bits are counted from the most significant of each byte (network order) and cross byte boundaries. The append
/// cursor for bits stays at the bit behind the last one appended while that byte is the blob's last; otherwise the next
/// AppendBits() starts a new byte. There is one exception, which is kept for existing programs: when a single byte
/// was appended as a byte behind bits that ended on a byte boundary, or as the first of the blob, AppendBits() replaces
/// that byte. So, where bits follow, append bytes by AppendBits() as well.
///
/// - **Ownership:** Owns its bytes. Borrows the allocator, which must outlive it; null means the default allocator.
/// - **Threads:** No locking: one thread at a time per blob; different blobs are as independent as their allocators.
/// - **Lifetime:** With the default allocator, between the start-up and the shut-down of the framework: made outside
///   it, a blob ends the process with a line that says so. One that has storage is destroyed before the shut-down.
/// - **Growth:** Exact, never rounded up: n appends cost n reallocations unless ReserveCapacity() comes first. Only
///   push_back() doubles, for what adds byte by byte without knowing how many there will be.
/// - **Cursors:** Set by construction, assignment, Assign(), AssignHex(), Clear(), SetReadIndex(),
///   CMarshaler::ExtractAll() and the reading and bit operations only: appending bytes, Resize() and `>>` from a
///   marshaler leave them where they were.
/// - **Failure:** Reported as QvResult or a null pointer, with the blob as it was. Construction throws what operator
///   new[] throws (one byte is allocated). What can report nothing, push_back(), Of() and construction of a range,
///   throws std::bad_alloc; a program without exceptions ends.
/// - **Texts:** As characters by Assign(), Append() and ToText(), as hexadecimal digits by AssignHex() and ToHex(), as
///   base64 by CBase64::FromText() and CBase64::ToText() (framework/crypto/base64.h).
/// - **Standard library:** The names that algorithms, ranges and containers expect stand beside those of the framework
///   (size() is GetSize()), so that a blob goes where a std::vector<unsigned char> would be looked at or filled.
class QV_EXPORT CBlob : private CVectorBase
{
public:
    using value_type = unsigned char;
    using size_type = unsigned int;
    using difference_type = ptrdiff_t;
    using reference = unsigned char&;
    using const_reference = const unsigned char&;
    using pointer = unsigned char*;
    using const_pointer = const unsigned char*;
    using iterator = unsigned char*;
    using const_iterator = const unsigned char*;
    using reverse_iterator = orvel_internal::CReverseIterator<iterator>;
    using const_reverse_iterator = orvel_internal::CReverseIterator<const_iterator>;

    /// Stands for "up to the end" where a number of bytes is asked for.
    static constexpr unsigned int uTO_END = 0xFFFFFFFF;

    /// Empty; null means the default allocator.
    explicit CBlob(IAllocator* pAllocator = nullptr);
    /// An empty blob with room for uCapacity bytes, if memory allows: GetCapacity() tells.
    CBlob(unsigned int uCapacity, IAllocator* pAllocator);
    /// A copy of uSize bytes in the larger of uSize and uCapacity bytes of room, empty if memory does not allow.
    CBlob(const unsigned char* puData, unsigned int uSize, unsigned int uCapacity, IAllocator* pAllocator = nullptr);
    /// A copy of uSize bytes, in as much room. A template, so that CBlob(0, NULL) cannot mean this, but only a
    /// capacity.
    template <typename TByte, typename = typename std::enable_if<std::is_same<TByte, unsigned char>::value>::type>
    QV_HIDDEN CBlob(const TByte* puData, unsigned int uSize) : CBlob(puData, uSize, 0, nullptr)
    {
    }
    /// A copy of the bytes, or of what converts to them, from itFirst up to itLast, in exactly the room they need where
    /// they can be counted beforehand. Throws std::bad_alloc if memory does not allow.
    template <typename Iterator, typename = orvel_internal::IteratorCategory<Iterator>>
    QV_HIDDEN CBlob(Iterator itFirst, Iterator itLast) : CBlob()
    {
        using Category = orvel_internal::IteratorCategory<Iterator>;
        if constexpr (!std::is_base_of<std::forward_iterator_tag, Category>::value)
        {
            for (; itFirst != itLast; ++itFirst) push_back(static_cast<unsigned char>(*itFirst));
        }
        else
        {
            size_t uCount = 0;
            for (Iterator it = itFirst; it != itLast; ++it) ++uCount;
            if (uCount > 0xFFFFFFFF || ReserveCapacity(static_cast<unsigned int>(uCount)) < 0)
                orvel_internal::ThrowOutOfMemory();
            for (unsigned char* pu = begin(); itFirst != itLast; ++itFirst)
                *pu++ = static_cast<unsigned char>(*itFirst);
            m_uSize = static_cast<unsigned int>(uCount);
        }
    }
    /// A blob of the bytes in braces: CBlob::Of({0xCA, 0xFE}). Braces behind CBlob itself mean sizes and pointers:
    /// CBlob{0, 0, 16} is empty with room for 16 bytes. Throws std::bad_alloc if memory does not allow.
    static CBlob Of(std::initializer_list<unsigned char> bytes) { return {bytes.begin(), bytes.end()}; }
    /// Same allocator, capacity, bytes and cursors.
    CBlob(const CBlob& rSrc);
    /// Takes everything; rSrc is empty afterwards.
    CBlob(CBlob&& rSrc);
    ~CBlob() override;
    /// Copies the bytes and the cursors; the bytes stay as they were if memory runs out.
    CBlob& operator=(const CBlob& rSrc);
    /// The two blobs exchange everything.
    CBlob& operator=(CBlob&& rSrc);
    /// Bytes, room, cursors and allocators change sides.
    friend void swap(CBlob& rFirst, CBlob& rSecond) { rFirst = static_cast<CBlob&&>(rSecond); }

    /// Compares sizes and bytes, not cursors.
    bool operator==(const CBlob& rOther) const;
    bool operator!=(const CBlob& rOther) const;
    /// Lexicographic order of the bytes.
    bool operator<(const CBlob& rOther) const;
    bool operator>(const CBlob& rOther) const { return Compare(rOther) > 0; }
    bool operator<=(const CBlob& rOther) const { return Compare(rOther) <= 0; }
    bool operator>=(const CBlob& rOther) const { return Compare(rOther) >= 0; }
    /// The order of `<` in one look, which trees and sorts of blobs use unasked: negative, 0 or positive as this blob
    /// comes before, with or behind the other.
    int Compare(const CBlob& rOther) const
    {
        const unsigned int uCommon = m_uSize < rOther.m_uSize ? m_uSize : rOther.m_uSize;
        const int nOrder = uCommon != 0 ? memcmp(begin(), rOther.begin(), uCommon) : 0;
        if (nOrder != 0) return nOrder;
        if (m_uSize == rOther.m_uSize) return 0;
        return m_uSize < rOther.m_uSize ? -1 : 1;
    }

    /// Puts uSize bytes in front of index uIndex (GetSize() appends). They may be bytes of this blob.
    /// Cost: moves the bytes behind uIndex; at the end and within the capacity, one copy and no allocation.
    ///
    /// - `QV_RES_OK`: the bytes are in.
    /// - `QV_RES_INVALID_ARGUMENT`: uIndex is above the size, or puData is null and uSize is not 0.
    /// - `QV_RES_OUT_OF_MEMORY`: the allocator gave no block.
    [[nodiscard]] QvResult Insert(unsigned int uIndex, const unsigned char* puData, unsigned int uSize);
    /// Puts uSize bytes of rSrc from uStartIndex on in front of index uIndex, as the other form; uTO_END means up to
    /// its end.
    ///
    /// - `QV_RES_INVALID_ARGUMENT`: also when they pass the end of rSrc.
    [[nodiscard]] QvResult Insert(unsigned int uIndex, const CBlob& rSrc, unsigned int uStartIndex, unsigned int uSize);
    /// Insert() at the end. Cost: inline within the capacity.
    [[nodiscard]] QvResult Append(const unsigned char* puData, unsigned int uSize)
    {
        const unsigned int uEnd = m_uSize;  // read once: the compiler must assume that the store below changes it
        if (puData == nullptr || uSize == 0 || uSize > m_uCapacity - uEnd) return Insert(uEnd, puData, uSize);
        memmove(GetFirstIndexPtr() + uEnd, puData, uSize);
        m_uSize = uEnd + uSize;
        return QV_RES_OK;
    }
    /// The characters of a string without the NUL behind them, at the end. Programs that call it include string.h.
    ///
    /// - `QV_RES_OK`: the characters are in.
    /// - `QV_RES_OUT_OF_MEMORY`: the allocator gave no block; the blob is as it was.
    [[nodiscard]] QvResult Append(const CString& rText);
    /// The characters of a text up to its NUL, at the end; it may stand in this blob.
    ///
    /// - `QV_RES_INVALID_ARGUMENT`: pszText is null.
    [[nodiscard]] QvResult Append(const char* pszText);
    /// All bytes of another blob, at the end; the cursors of neither move. It may be this blob.
    [[nodiscard]] QvResult Append(const CBlob& rSrc) { return Insert(m_uSize, rSrc, 0, uTO_END); }
    /// Appends a byte. Without room the capacity doubles (16 bytes at least), so that many of them cost few
    /// reallocations; where memory does not allow that, it grows by the one byte. For std::back_inserter() and such.
    /// Append() instead takes what is needed and not a byte more, and returns a result where this throws
    /// std::bad_alloc, with the blob as it was.
    void push_back(unsigned char uByte)
    {
        const unsigned int uEnd = m_uSize;
        if (orvel_internal::IsUnlikely(uEnd == m_uCapacity)) GrowForOneMore();
        GetFirstIndexPtr()[uEnd] = uByte;
        m_uSize = uEnd + 1;
    }

    /// Makes uSize bytes all that the blob holds, and sets its cursors to 0. They may be bytes of this blob. The
    /// capacity stays if it suffices, else it becomes uSize.
    ///
    /// - `QV_RES_OK`: the blob holds the bytes.
    /// - `QV_RES_INVALID_ARGUMENT`: puData is null and uSize is not 0.
    /// - `QV_RES_OUT_OF_MEMORY`: the allocator gave no block; the blob is as it was.
    [[nodiscard]] QvResult Assign(const unsigned char* puData, unsigned int uSize);
    /// Makes the characters of a string, without the NUL behind them, all that the blob holds.
    [[nodiscard]] QvResult Assign(const CString& rText);
    /// Makes the characters of a text up to its NUL all that the blob holds; of one that is longer than a blob can be,
    /// QV_RES_OUT_OF_MEMORY.
    [[nodiscard]] QvResult Assign(const char* pszText);
    /// Makes the bytes that a text spells in hexadecimal digits all that the blob holds, and sets its cursors to 0: two
    /// digits of either case for each byte, and nothing else, neither a space nor a prefix. It may stand in this blob.
    ///
    /// - `QV_RES_OK`: the blob holds the bytes.
    /// - `QV_RES_INVALID_ARGUMENT`: the text is null, there is a character that is no digit, or their number is odd;
    ///   the blob is as it was.
    /// - `QV_RES_OUT_OF_MEMORY`: the allocator gave no block; the blob is as it was.
    [[nodiscard]] QvResult AssignHex(const CString& rHex);
    [[nodiscard]] QvResult AssignHex(const char* pszHex);
    /// Makes all bytes, read or not, the characters of a string, NULs as well.
    ///
    /// - `QV_RES_OK`: the string holds them.
    /// - `QV_RES_INVALID_ARGUMENT`: the pointer is null, or there are more than CString::uMAX_SIZE (65,535); the string
    ///   is as it was.
    /// - `QV_RES_OUT_OF_MEMORY`: there is no memory for the string, which is as it was.
    [[nodiscard]] QvResult ToText(CString* pstrText) const;
    /// ToText() with two hexadecimal digits for each byte, small letters unless asked otherwise. A string holds the
    /// digits of 32,767 bytes.
    [[nodiscard]] QvResult ToHex(CString* pstrHex, bool bUpperCase = false) const;

    /// Removes up to uSize bytes from uIndex on; nothing happens when uIndex is no byte. Cursors and capacity stay.
    void Erase(unsigned int uIndex, unsigned int uSize);
    /// Removes all bytes and sets the cursors to 0; the capacity stays.
    void Clear()
    {
        m_uSize = 0;
        m_uReadIndex = m_uReadBitOffset = m_uAppendBitsIndex = m_uAppendBitsBitOffset = 0;
    }
    /// Clear().
    void clear() { Clear(); }

    /// Sets the size within the capacity; bytes that come in are what the storage held.
    ///
    /// - `QV_RES_INVALID_ARGUMENT`: uSize is above the capacity.
    QvResult Resize(unsigned int uSize);
    /// Sets the size by the address behind the last byte, for callers that wrote through GetFirstIndexPtr(). The
    /// address behind the full capacity is refused: the largest size settable this way is one less.
    ///
    /// - `QV_RES_INVALID_ARGUMENT`: puEnd is before the first byte, or behind the capacity's last one.
    QvResult Resize(unsigned char* puEnd);
    /// Makes the capacity exactly uCapacity if it is less.
    ///
    /// - `QV_RES_OUT_OF_MEMORY`: the allocator gave no block.
    [[nodiscard]] QvResult ReserveCapacity(unsigned int uCapacity);
    /// Makes the capacity exactly the larger of uCapacity and the size, if it is more.
    ///
    /// - `QV_RES_OUT_OF_MEMORY`: the allocator gave no block.
    QvResult ReduceCapacity(unsigned int uCapacity);

    /// How many bytes there are.
    unsigned int GetSize() const { return m_uSize; }
    /// How many bytes there is room for.
    unsigned int GetCapacity() const { return m_uCapacity; }
    /// Whether there is no byte.
    bool IsEmpty() const { return m_uSize == 0; }
    /// 0.
    unsigned int GetFirstIndex() const;
    /// GetSize() - 1: 0xFFFFFFFF when empty.
    unsigned int GetLastIndex() const;
    /// GetSize().
    unsigned int GetEndIndex() const;
    /// The byte at an index below the size, else null.
    unsigned char* GetAt(unsigned int uIndex);
    const unsigned char* GetAt(unsigned int uIndex) const;
    /// Gets the byte at an index that may come from anywhere.
    ///
    /// - `QV_RES_OK`: *puByte is the byte.
    /// - `QV_RES_INVALID_ARGUMENT`: there is no byte at uIndex, or puByte is null; *puByte stays.
    [[nodiscard]] QvResult At(unsigned int uIndex, unsigned char* puByte) const
    {
        if (uIndex >= m_uSize || puByte == nullptr) return QV_RES_INVALID_ARGUMENT;
        *puByte = begin()[uIndex];
        return QV_RES_OK;
    }
    /// The byte at an index that the caller knows to be below the size. Nothing is checked.
    unsigned char& operator[](unsigned int uIndex) { return begin()[uIndex]; }
    const unsigned char& operator[](unsigned int uIndex) const { return begin()[uIndex]; }
    /// The first and the last byte of a blob that the caller knows not to be empty.
    unsigned char& front() { return begin()[0]; }
    const unsigned char& front() const { return begin()[0]; }
    unsigned char& back() { return begin()[m_uSize - 1]; }
    const unsigned char& back() const { return begin()[m_uSize - 1]; }
    unsigned int size() const { return m_uSize; }
    [[nodiscard]] bool empty() const { return m_uSize == 0; }
    /// The storage, GetCapacity() bytes; null when the capacity is 0.
    unsigned char* GetFirstIndexPtr() { return static_cast<unsigned char*>(m_pvStorage); }
    const unsigned char* GetFirstIndexPtr() const { return static_cast<const unsigned char*>(m_pvStorage); }
    /// For range-for and the standard algorithms: all bytes, read or not, valid until the blob changes.
    unsigned char* begin() { return GetFirstIndexPtr(); }
    unsigned char* end() { return begin() + m_uSize; }
    const unsigned char* begin() const { return GetFirstIndexPtr(); }
    const unsigned char* end() const { return begin() + m_uSize; }
    const unsigned char* cbegin() const { return begin(); }
    const unsigned char* cend() const { return end(); }
    reverse_iterator rbegin() { return reverse_iterator(end()); }
    reverse_iterator rend() { return reverse_iterator(begin()); }
    const_reverse_iterator rbegin() const { return const_reverse_iterator(end()); }
    const_reverse_iterator rend() const { return const_reverse_iterator(begin()); }
    const_reverse_iterator crbegin() const { return rbegin(); }
    const_reverse_iterator crend() const { return rend(); }
    unsigned char* data() { return begin(); }
    const unsigned char* data() const { return begin(); }

    /// Copies the next uSize unread bytes to puDst and returns it. The rest of a partly read byte is skipped first.
    /// Null, with nothing read, when puDst is null, uSize is 0 or fewer whole bytes are unread.
    unsigned char* Read(unsigned char* puDst, unsigned int uSize);
    /// Read() without a copy: the bytes in place, valid until the blob changes. A uSize of 0 is allowed here: it only
    /// skips the rest of a partly read byte, and the result is null when no byte follows.
    unsigned char* ReadNoCopy(unsigned int uSize);
    /// Moves the read cursor to a byte. A bit offset inside a byte stays, and then means the byte before the index:
    /// RealignReadBits(8) drops it. At index 0 there is no such byte; ReadBits() drops the offset there itself.
    ///
    /// - `QV_RES_INVALID_ARGUMENT`: uIndex is not below the size (0 always is allowed).
    QvResult SetReadIndex(unsigned int uIndex);
    /// Whole unread bytes: the size less the read index, which wraps when Resize() left the cursor beyond the end. The
    /// reading operations then find nothing unread.
    unsigned int GetUnreadSize() const;
    /// The unread bits, those of a partly read byte included. 32 bits: wraps from 512 MiB on.
    unsigned int GetUnreadBits() const;

    /// Appends uBitCount bits of puSrc, beginning uSrcBitOffset bits into its first byte. Only the bytes that hold
    /// those bits are read; they may be bytes of this blob. Reserves four bytes more than the bits need. Nothing
    /// happens when memory runs out, and nothing tells: reserve first where it might.
    /// Cost: up to 32 bits a step; inline where one step within the capacity does.
    void AppendBits(const unsigned char* puSrc, unsigned int uBitCount, unsigned int uSrcBitOffset)
    {
        if (puSrc == nullptr || !AppendInOneStep(puSrc, uBitCount, uSrcBitOffset))
            AppendInSteps(puSrc, uBitCount, uSrcBitOffset);
    }
    /// Reads up to uBitCount bits, no more than are unread, to uDstBitOffset bits into the first byte of puDst. The
    /// bits of puDst before them are kept, those behind them in the last byte written become 0. Nothing happens
    /// when puDst is null. puDst may be in this blob: what it gets are the bits as they were before.
    /// Cost: up to 32 bits a step, inline where one step does; a single bit where puDst is in this blob and more than a
    /// step is read.
    void ReadBits(unsigned char* puDst, unsigned int uBitCount, unsigned int uDstBitOffset)
    {
        if (puDst == nullptr || !ReadInOneStep(puDst, uBitCount, uDstBitOffset))
            ReadInSteps(puDst, uBitCount, uDstBitOffset);
    }
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
    // What the inline halves above do not reach.
    void AppendInSteps(const unsigned char* puSrc, unsigned int uBitCount, unsigned int uSrcBitOffset);
    void ReadInSteps(unsigned char* puDst, unsigned int uBitCount, unsigned int uDstBitOffset);

    // False, with nothing done, where one step does not do. Positions are counted in bits, from the blob's first one.
    QV_HIDDEN bool AppendInOneStep(const unsigned char* puSrc, unsigned int uBitCount, unsigned int uSrcBitOffset)
    {
        unsigned int uOffset = m_uAppendBitsBitOffset;
        if (uOffset > 7) __builtin_unreachable();
        const unsigned int uFurthest = uOffset > uSrcBitOffset ? uOffset : uSrcBitOffset;
        if (uSrcBitOffset > 7 || uBitCount - 1 > 31 - uFurthest) return false;
        const uint64_t uSize = m_uSize;
        unsigned int uBytes = (uBitCount + uOffset + 7) / 8;
        if (uSize + uBytes + sizeof(uint32_t) > m_uCapacity) return false;

        uint64_t uByte = m_uAppendBitsIndex;
        if (orvel_internal::IsUnlikely(uByte + (uOffset != 0 ? 1 : 0) != uSize) && uByte + 1 != uSize)
        {
            // Bytes have been appended or removed since.
            uByte = uSize;
            uOffset = 0;
            uBytes = (uBitCount + 7) / 8;
        }
        unsigned char* const puDst = GetFirstIndexPtr() + uByte;
        const uint32_t uTaken = orvel_internal::LoadTop(puSrc, uBitCount + uSrcBitOffset) << uSrcBitOffset;
        // One shift moves the bits behind those that are there, and makes the mask of those in the lowest byte.
        uint64_t uShifted = (uint64_t{uTaken & orvel_internal::TopBits(uBitCount)} << 32) + 0xFF00;
        uShifted >>= uOffset;
        uint32_t uWord = static_cast<uint32_t>(__builtin_bswap64(uShifted));
        // Last, since the byte may just have been stored: all else need not wait for it.
        uWord |= *puDst & static_cast<unsigned char>(uShifted);
        memcpy(puDst, &uWord, sizeof(uWord));
        m_uAppendBitsIndex = static_cast<unsigned int>(uByte) + (uBitCount + uOffset) / 8;
        m_uAppendBitsBitOffset = (uBitCount + uOffset) % 8;
        m_uSize = static_cast<unsigned int>(uByte) + uBytes;
        return true;
    }
    QV_HIDDEN bool ReadInOneStep(unsigned char* puDst, unsigned int uBitCount, unsigned int uDstBitOffset)
    {
        const unsigned int uOffset = m_uReadBitOffset;
        if (uOffset > 7) __builtin_unreachable();
        const unsigned int uFurthest = uOffset > uDstBitOffset ? uOffset : uDstBitOffset;
        if (uDstBitOffset > 7 || uBitCount - 1 > 31 - uFurthest) return false;
        const int64_t nByte = int64_t{m_uReadIndex} - (uOffset + 7) / 8;  // one less with an offset
        const int64_t nEnd = nByte + (uOffset + uBitCount + 7) / 8;
        // An offset at index 0 has no byte, and goes the other way.
        if (nByte < 0 || nEnd > m_uSize || nByte + int64_t{sizeof(uint32_t)} > m_uCapacity) return false;

        uint32_t uWord;
        memcpy(&uWord, GetFirstIndexPtr() + nByte, sizeof(uWord));
        uWord = (__builtin_bswap32(uWord) << uOffset & orvel_internal::TopBits(uBitCount)) >> uDstBitOffset;
        if (uDstBitOffset != 0) uWord |= (uint32_t{*puDst} << 24) & orvel_internal::TopBits(uDstBitOffset);
        orvel_internal::StoreTop(puDst, uWord, uBitCount + uDstBitOffset);
        m_uReadBitOffset = (uOffset + uBitCount) % 8;
        m_uReadIndex = static_cast<unsigned int>(nEnd);
        return true;
    }

    // Apart, so that the common way of push_back() stays short.
    __attribute__((noinline, cold)) QV_HIDDEN void GrowForOneMore()
    {
        const unsigned int uDoubled = m_uCapacity > 0x7FFFFFFF ? 0xFFFFFFFF : m_uCapacity * 2;
        if (ReserveCapacity(uDoubled < 16 ? 16 : uDoubled) >= 0 && m_uCapacity != m_uSize) return;
        if (m_uSize == 0xFFFFFFFF || ReserveCapacity(m_uSize + 1) < 0) orvel_internal::ThrowOutOfMemory();
    }

    QV_HIDDEN QvResult AssignDigits(const char* pszHex, size_t uDigits);
    QV_HIDDEN QvResult OpenGap(unsigned int uIndex, unsigned int uSize);
    QV_HIDDEN bool TryAppendBits(const unsigned char* puSrc, unsigned int uBitCount, unsigned int uSrcBitOffset);

    unsigned int m_uReadIndex;
    unsigned int m_uReadBitOffset;
    unsigned int m_uAppendBitsIndex;
    unsigned int m_uAppendBitsBitOffset;
};

namespace orvel_internal
{
// Blobs find out their order in one look.
template <>
struct SThreeWayOrder<CBlob, CBlob>
{
    static int Of(const CBlob& rFirst, const CBlob& rSecond) { return rFirst.Compare(rSecond); }
};
}  // namespace orvel_internal

/// Writes the size as 32 bits, then the bytes.
QV_EXPORT CMarshaler& operator<<(CMarshaler& rMarshaler, const CBlob& rBlob);
/// Reads them back over the blob's bytes; the cursors stay. If memory does not allow, the bytes are skipped and the
/// blob stays as it was. A length is not checked: where the content may be foreign, compare it with
/// CMarshaler::GetUnreadSize() first.
QV_EXPORT CMarshaler& operator>>(CMarshaler& rMarshaler, CBlob& rBlob);

#endif
