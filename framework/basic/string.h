#ifndef FRAMEWORK_BASIC_STRING_H
#define FRAMEWORK_BASIC_STRING_H
#include <stdarg.h>
#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include "framework/basic/allocator.h"
#include "framework/basic/internal/typed_elements.h"
#include "framework/basic/marshaler.h"
#include "framework/kernel/export.h"
#include "framework/kernel/mutex.h"
#include "framework/kernel/result.h"

/// An empty text, and the text NULL.
extern QV_EXPORT const char g_szEMPTY_STRING[1];
extern QV_EXPORT const char g_szNULL[5];

/// A byte string of at most 65,535 characters, always terminated by a NUL, whose characters are shared between copies
/// until one of them changes.
/// ```
/// CString --+
///           +--> [ share count 2 | capacity 32 | size 5 | h e l l o NUL ... ]
/// CString --+
/// ```
///
/// - **Ownership:** Owns its share of a block from the default allocator; a null text counts as an empty one except
///   where said.
/// - **Threads:** Copies may be used and destroyed in different threads, one mutex guarding all share counts. One
///   object is used by one thread at a time.
/// - **Lifetime:** Between the start-up and the shut-down of the framework: made outside it, a string ends the process
///   with a line that says so. One that is left may be read and destroyed later; its block is not given back.
/// - **Growth:** In steps of 32 characters; blocks shrink only by ReduceCapacity().
/// - **Cost:** Copying is constant: no character is copied.
/// - **Failure:** Insert(), Format() and the capacity operations return a QvResult and leave the string as it was,
///   unless said otherwise. What returns nothing does nothing when an argument is out of range or memory runs out.
/// - **Aliasing:** A text handed to an operation may be a part of this string.
class QV_EXPORT CString
{
public:
    /// The largest size; as a number of characters to insert it means the length of the source text.
    static constexpr unsigned int uMAX_SIZE = 65535;

    CString();
    /// Empty when the text is longer than uMAX_SIZE.
    CString(const char* pszText);
    /// uSize characters, NULs included, of pszText; but uMAX_SIZE means its length, as in Insert().
    CString(const char* pszText, unsigned int uSize);
    /// Shares the block.
    CString(const CString& rSrc);
    /// Takes the block; rSrc is empty afterwards.
    CString(CString&& rSrc) noexcept;
    virtual ~CString();

    CString& operator=(const CString& rSrc);
    /// The two strings exchange their blocks.
    CString& operator=(CString&& rSrc) noexcept;
    /// Unchanged when the text is longer than uMAX_SIZE, or memory runs out.
    CString& operator=(const char* pszText);
    /// A NUL gives an empty string.
    CString& operator=(char c);

    /// Equal sizes and equal characters up to a NUL, as strncmp() sees them.
    bool operator==(const CString& rOther) const
    {
        // Bytes that are all equal, which is the common case, need no look for a NUL.
        const unsigned int uSize = GetSize();
        return uSize == rOther.GetSize() &&
               (memcmp(CStr(), rOther.CStr(), uSize) == 0 || strncmp(CStr(), rOther.CStr(), uSize) == 0);
    }
    bool operator==(const char* pszOther) const
    {
        // As long as this one, the other text has no NUL where strncmp() could end.
        if (pszOther == nullptr) pszOther = "";
        return GetSize() == strlen(pszOther) && memcmp(CStr(), pszOther, GetSize()) == 0;
    }
    bool operator!=(const CString& rOther) const { return !(*this == rOther); }
    bool operator!=(const char* pszOther) const { return !(*this == pszOther); }
    /// Orders by all characters as unsigned bytes, the shorter of equal beginnings first.
    bool operator<(const CString& rOther) const { return Compare(rOther) < 0; }
    /// Negative, 0 or positive as this string orders before, with or after the other one: the order of `<`, in one go.
    /// Trees, maps, sorts and searches of strings use it where they are given no comparison. NULs are characters like
    /// others here, so that two strings which `==` takes for equal may order one before the other.
    int Compare(const CString& rOther) const
    {
        const unsigned int uSize = GetSize();
        const unsigned int uOtherSize = rOther.GetSize();
        const unsigned int uCommon = uSize < uOtherSize ? uSize : uOtherSize;
        if (uCommon != 0)
        {
            // Most texts differ early. Only where they do not, is a call worth it.
            const uint64_t uBegin = BeginOf(CStr(), uCommon);
            const uint64_t uOtherBegin = BeginOf(rOther.CStr(), uCommon);
            if (uBegin != uOtherBegin) return uBegin < uOtherBegin ? -1 : 1;
            const int nOrder = uCommon > 8 ? memcmp(CStr() + 8, rOther.CStr() + 8, uCommon - 8) : 0;
            if (nOrder != 0) return nOrder;
        }
        return static_cast<int>(uSize) - static_cast<int>(uOtherSize);
    }
    /// The same with a text of any length, which no string is made of.
    int Compare(const char* pszOther) const
    {
        if (pszOther == nullptr) pszOther = "";
        const char* const pszOwn = CStr();
        const unsigned int uSize = GetSize();
        for (unsigned int u = 0; u != 8; ++u)
        {
            if (u == uSize) return pszOther[u] == '\0' ? 0 : -1;
            if (pszOwn[u] != pszOther[u])
                return static_cast<unsigned char>(pszOwn[u]) < static_cast<unsigned char>(pszOther[u]) ? -1 : 1;
            if (pszOwn[u] == '\0') return 1;  // a character of this string, and the end of the other text
        }
        return CompareRest(pszOther);
    }
    /// Negative, 0 or positive as this text orders before, with or after the other up to a NUL, letters of either case
    /// being equal (tolower()). pszOther must not be null.
    int CaseInsCmp(const char* pszOther) const;
    /// Index of the first occurrence at or after uStartIndex, looked for up to a NUL. GetSize() when there is none, the
    /// substring is empty or uStartIndex is not below the size.
    unsigned int FindSubstring(unsigned int uStartIndex, const char* pszSubstring) const;

    /// The characters and their NUL; valid until this string changes or ends.
    const char* CStr() const { return CharactersOf(m_pstInfo); }
    unsigned int GetSize() const { return m_pstInfo->uSize; }
    unsigned int GetCapacity() const { return m_pstInfo->uCapacity; }
    bool IsEmpty() const { return GetSize() == 0; }
    /// The character at an index that the caller knows to be at most the size.
    const char& GetAt(unsigned int uIndex) const { return CStr()[uIndex]; }
    const char& operator[](unsigned int uIndex) const { return GetAt(uIndex); }
    /// For range-for and the standard algorithms: the characters without their NUL, valid as long as CStr() is.
    const char* begin() const { return CStr(); }
    const char* end() const { return CStr() + GetSize(); }
    /// The characters for writing, GetCapacity() of them and a NUL; Resize() tells how many were written. Valid until
    /// the string is copied or changes. Null when the block is shared and memory runs out.
    char* GetBuffer() { return !IsShared() || CreateCopy() >= 0 ? Characters() : nullptr; }
    /// Nothing happens when uIndex is not below the size.
    void SetAt(unsigned int uIndex, char c)
    {
        if (uIndex < GetSize() && (!IsShared() || CreateCopy() >= 0)) Characters()[uIndex] = c;
    }
    /// tolower() on each character up to a NUL.
    void ToLowerCase();

    /// Puts uRepetition copies of uSize characters in front of index uIndex (GetSize() appends); uMAX_SIZE means the
    /// length of the text. Cost: moves the characters behind uIndex, and all when the capacity has to grow.
    ///
    /// - `QV_RES_OK`: the characters are in, or there were none.
    /// - `QV_RES_INVALID_ARGUMENT`: uIndex is above the size, or the result would be longer than uMAX_SIZE.
    /// - `QV_RES_OUT_OF_MEMORY`: the allocator gave no block.
    QvResult Insert(unsigned int uIndex, unsigned int uRepetition, const char* pszSrc, unsigned int uSize);
    /// The same with uSize characters of rSrc from uStartIndex on; here too uMAX_SIZE characters mean the length of the
    /// text from there.
    ///
    /// - `QV_RES_INVALID_ARGUMENT`: also when they pass the end of rSrc.
    QvResult Insert(unsigned int uIndex, unsigned int uRepetition, const CString& rSrc, unsigned int uStartIndex,
                    unsigned int uSize);
    QvResult Insert(unsigned int uIndex, unsigned int uRepetition, char c);
    /// Removes uSize characters; nothing happens unless they all exist.
    void Erase(unsigned int uIndex, unsigned int uSize);
    /// Keeps the capacity.
    void EraseAll();
    /// Removes all leading (trailing) characters equal to c.
    void TrimLeftSide(char c);
    void TrimRightSide(char c);
    /// Sets the size within the capacity; characters that come in are what the block held.
    void Resize(unsigned int uSize);
    /// Makes room for uCapacity characters, rounded up to a multiple of 32, at most uMAX_SIZE.
    ///
    /// - `QV_RES_OUT_OF_MEMORY`: the allocator gave no block.
    QvResult ReserveCapacity(unsigned short uCapacity);
    /// Makes the capacity the larger of uCapacity and the size, rounded up likewise, if it is more.
    ///
    /// - `QV_RES_OUT_OF_MEMORY`: the allocator gave no block.
    QvResult ReduceCapacity(unsigned short uCapacity);

    /// Unchanged when the result would be too long, or memory runs out. Cost: inline within the capacity of a block
    /// that is not shared.
    CString& operator+=(const CString& rRight)
    {
        const unsigned int uSize = rRight.GetSize();
        // No characters change nothing, not even the NUL, and uMAX_SIZE of them mean the length of the text.
        const bool bPlain = uSize != 0 && uSize != uMAX_SIZE;
        if (!bPlain || !AppendInPlace(rRight.CStr(), uSize)) AppendElsewhere(rRight.CStr(), uSize);
        return *this;
    }
    CString& operator+=(const char* pszRight)
    {
        // A length that means itself spares Insert() the look for it; none, too, has a meaning of its own there.
        const size_t uSize = pszRight != nullptr ? strlen(pszRight) : 0;
        const bool bPlain = uSize != 0 && uSize < uMAX_SIZE;
        if (pszRight == nullptr || !AppendInPlace(pszRight, uSize))
            AppendElsewhere(pszRight, bPlain ? static_cast<unsigned int>(uSize) : uMAX_SIZE);
        return *this;
    }
    CString& operator+=(char cRight)
    {
        SStringInfo* const pstInfo = m_pstInfo;
        const uint32_t uExtent = ExtentOf(pstInfo);
        const unsigned int uOldSize = uExtent >> 16;
        if (uOldSize == (uExtent & 0xFFFF) || !IsOnlyOne(pstInfo))
        {
            const char cHere = cRight;
            AppendElsewhere(&cHere, 1);
        }
        else
        {
            // The character and the NUL in one store.
            const uint16_t uText = static_cast<unsigned char>(cRight);
            memcpy(CharactersOf(pstInfo) + uOldSize, &uText, sizeof(uText));
            SetExtent(pstInfo, uExtent + (1u << 16));
        }
        return *this;
    }
    CString operator+(const CString& rRight) const;
    CString operator+(const char* pszRight) const;
    CString operator+(char cRight) const;

    /// Replaces everything from uStartIndex on by formatted text: GetSize() appends, 0 replaces all. The capacity
    /// doubles, from 32 on, until it is 32,768 or more: for a longer text, call ReserveCapacity() first.
    /// After any failure but an uStartIndex above the size, the string ends at uStartIndex; only one that shares its
    /// block and finds no memory for its own stays whole.
    ///
    /// - `QV_RES_OK`: the text is in.
    /// - `QV_RES_INVALID_ARGUMENT`: uStartIndex is above the size, or the text is too long.
    /// - `QV_RES_OUT_OF_MEMORY`: the allocator gave no block.
    /// - `QV_RES_FAIL`: vsnprintf() could not format.
    QvResult Format(unsigned int uStartIndex, const char* pszFormat, ...) __attribute__((format(printf, 3, 4)));
    QvResult Format(unsigned int uStartIndex, const char* pszFormat, va_list args)
        __attribute__((format(printf, 3, 0)));

    /// The text, or g_szEMPTY_STRING for null.
    static const char* MakeNullSafe(const char* pszText);

    /// Module start-up and shut-down. Start-up returns QV_RES_OK.
    static QvResult InitializeCString();
    static void FinalizeCString();

protected:
    /// What copies share, laid out so in memory; the characters and their NUL go on behind the record.
    struct SStringInfo
    {
        /// 0 in the empty-string block only.
        uint16_t uRefCount;
        uint16_t uCapacity;
        uint16_t uSize;
        char szCharacters[2];
    };

    /// Drops this string's share and points at the empty block; the caller holds the mutex.
    void Release();
    /// Makes the block private. When memory runs out it stays shared, and the result is QV_RES_OUT_OF_MEMORY.
    QvResult CreateCopy();
    /// Lock and unlock ms_pmutex, for derived classes.
    static void MutexLock();
    static void MutexUnlock();
    unsigned int GetRefCount();
    void IncRefCount();
    void DecRefCount();
    alignas(CMutex) static unsigned char ms_auMutex[sizeof(CMutex)];
    static CMutex* ms_pmutex;
    static IAllocator* ms_pAllocator;
    alignas(uint16_t) static unsigned char ms_auEmptyStringInfo[sizeof(SStringInfo)];
    static SStringInfo* ms_pstEmptyStringInfo;

private:
    static char* CharactersOf(SStringInfo* pstInfo)
    {
        return reinterpret_cast<char*>(pstInfo) + offsetof(SStringInfo, szCharacters);
    }

    // The size above the capacity in one word: loading a word that has just been stored as a word costs the next append
    // less than loading 16 bits of it.
    QV_HIDDEN static uint32_t ExtentOf(const SStringInfo* pstInfo)
    {
        uint32_t uExtent;
        memcpy(&uExtent, reinterpret_cast<const char*>(pstInfo) + offsetof(SStringInfo, uCapacity), sizeof(uExtent));
        return uExtent;
    }
    QV_HIDDEN static void SetExtent(SStringInfo* pstInfo, uint32_t uExtent)
    {
        memcpy(reinterpret_cast<char*>(pstInfo) + offsetof(SStringInfo, uCapacity), &uExtent, sizeof(uExtent));
    }
    QV_HIDDEN char* Characters() { return CharactersOf(m_pstInfo); }
    // Whether the block may not be written to; no mutex is needed to see it. std::atomic_ref is not in C++17.
    QV_HIDDEN bool IsShared() const { return __atomic_load_n(&m_pstInfo->uRefCount, __ATOMIC_ACQUIRE) > 1; }
    // Whether one string has the block to itself; the empty one belongs to nobody.
    QV_HIDDEN static bool IsOnlyOne(const SStringInfo* pstInfo)
    {
        return __atomic_load_n(&pstInfo->uRefCount, __ATOMIC_ACQUIRE) == 1;
    }
    // False, with nothing changed, where the block is shared or has no room. The empty block never has.
    QV_HIDDEN bool AppendInPlace(const char* pszText, size_t uSize)
    {
        SStringInfo* const pstInfo = m_pstInfo;
        // Read once: the compiler must assume that storing a character changes them.
        const uint32_t uExtent = ExtentOf(pstInfo);
        const unsigned int uOldSize = uExtent >> 16;
        const unsigned int uRoom = (uExtent & 0xFFFF) - uOldSize;
        if (uSize > uRoom || !IsOnlyOne(pstInfo)) return false;
        char* const pszEnd = CharactersOf(pstInfo) + uOldSize;
        memmove(pszEnd, pszText, uSize);  // which may be a part of this string
        pszEnd[uSize] = '\0';
        SetExtent(pstInfo, uExtent + (static_cast<uint32_t>(uSize) << 16));
        return true;
    }
    // The first characters as a number, which orders as they do: eight, or all of fewer. A block that holds one
    // character has room for 32.
    QV_HIDDEN static uint64_t BeginOf(const char* pszText, unsigned int uSize)
    {
        uint64_t uBegin;
        memcpy(&uBegin, pszText, sizeof(uBegin));
        uBegin = __builtin_bswap64(uBegin);
        return uSize < sizeof(uBegin) ? uBegin >> (64 - 8 * uSize) : uBegin;
    }
    // The rest of Compare(): the first 8 characters are equal, and no NULs.
    int CompareRest(const char* pszOther) const;
    // The way of an append that does not stay in the block.
    void AppendElsewhere(const char* pszText, unsigned int uSize);
    QV_HIDDEN bool HoldsAddress(const char* psz) const;
    QV_HIDDEN void ShareBlockOf(const CString& rSrc);
    QV_HIDDEN void SetSize(unsigned int uSize);
    QV_HIDDEN static SStringInfo* NewBlock(unsigned int uCapacity, unsigned int uSize);
    QV_HIDDEN SStringInfo* CopyBlock(unsigned int uCapacity) const;
    QV_HIDDEN QvResult Reallocate(unsigned int uCapacity);
    QV_HIDDEN void FreeBlock();
    QV_HIDDEN void GiveUpShare();
    QV_HIDDEN void GiveUpShareLocked();
    QV_HIDDEN void Replace(SStringInfo* pstInfo);
    QV_HIDDEN bool HasRoom(unsigned int uSize) const;
    QV_HIDDEN unsigned int CapacityFor(unsigned int uSize) const;
    QV_HIDDEN QvResult MakeRoom(unsigned int uSize);
    QV_HIDDEN QvResult PutFormatted(unsigned int uStartIndex, const char* pszText, unsigned int uLength);

    SStringInfo* m_pstInfo;
};

QV_EXPORT CString operator+(const char* pszLeft, const CString& rRight);
QV_EXPORT CString operator+(char cLeft, const CString& rRight);

/// The other comparisons: the order of CString::Compare(), and the equality of `==`.
inline bool operator>(const CString& rLeft, const CString& rRight)
{
    return rLeft.Compare(rRight) > 0;
}
inline bool operator<=(const CString& rLeft, const CString& rRight)
{
    return rLeft.Compare(rRight) <= 0;
}
inline bool operator>=(const CString& rLeft, const CString& rRight)
{
    return rLeft.Compare(rRight) >= 0;
}
inline bool operator<(const CString& rLeft, const char* pszRight)
{
    return rLeft.Compare(pszRight) < 0;
}
inline bool operator>(const CString& rLeft, const char* pszRight)
{
    return rLeft.Compare(pszRight) > 0;
}
inline bool operator<=(const CString& rLeft, const char* pszRight)
{
    return rLeft.Compare(pszRight) <= 0;
}
inline bool operator>=(const CString& rLeft, const char* pszRight)
{
    return rLeft.Compare(pszRight) >= 0;
}
inline bool operator==(const char* pszLeft, const CString& rRight)
{
    return rRight == pszLeft;
}
inline bool operator!=(const char* pszLeft, const CString& rRight)
{
    return !(rRight == pszLeft);
}
inline bool operator<(const char* pszLeft, const CString& rRight)
{
    return rRight.Compare(pszLeft) > 0;
}
inline bool operator>(const char* pszLeft, const CString& rRight)
{
    return rRight.Compare(pszLeft) < 0;
}
inline bool operator<=(const char* pszLeft, const CString& rRight)
{
    return rRight.Compare(pszLeft) >= 0;
}
inline bool operator>=(const char* pszLeft, const CString& rRight)
{
    return rRight.Compare(pszLeft) <= 0;
}

/// Writes the size as 16 bits, then the characters without their NUL.
QV_EXPORT CMarshaler& operator<<(CMarshaler& rMarshaler, const CString& rString);
/// Reads them back. If memory runs out, the characters are skipped and the string is empty.
QV_EXPORT CMarshaler& operator>>(CMarshaler& rMarshaler, CString& rString);

/// The order of strings, and of strings and texts, in one pass.
namespace orvel_internal
{
template <>
struct SThreeWayOrder<CString, CString>
{
    static int Of(const CString& rFirst, const CString& rSecond) { return rFirst.Compare(rSecond); }
};
struct SStringBeforeText
{
    static int Of(const CString& rFirst, const char* pszSecond) { return rFirst.Compare(pszSecond); }
};
struct STextBeforeString
{
    static int Of(const char* pszFirst, const CString& rSecond)
    {
        const int nOrder = rSecond.Compare(pszFirst);
        return (nOrder < 0) - (nOrder > 0);  // not negated: the least number has no opposite
    }
};
template <>
struct SThreeWayOrder<CString, const char*> : SStringBeforeText
{
};
template <>
struct SThreeWayOrder<CString, char*> : SStringBeforeText
{
};
template <size_t uSIZE>
struct SThreeWayOrder<CString, char[uSIZE]> : SStringBeforeText
{
};
template <>
struct SThreeWayOrder<const char*, CString> : STextBeforeString
{
};
template <>
struct SThreeWayOrder<char*, CString> : STextBeforeString
{
};
template <size_t uSIZE>
struct SThreeWayOrder<char[uSIZE], CString> : STextBeforeString
{
};
}  // namespace orvel_internal

/// Module start-up and shut-down, called by CFrameworkInitializer; forward to CString.
QV_EXPORT QvResult InitializeCString();
QV_EXPORT void FinalizeCString();

#endif
